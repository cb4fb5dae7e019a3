#include "Arguments.h"

namespace torvo::sips {

std::string_view helpText() {
    return R"(sips - change the format, the size or the orientation of pictures

Usage:
  sips [OPTION]... PICTURE... [--out FILE|FOLDER]

Reads and writes png, jpeg, tiff, gif, bmp, heic and webp. What a file holds decides how it is read, not its name.

Format
  -s format FORMAT          write FORMAT: png, jpeg (jpg), tiff (tif), gif, bmp, heic (heif) or webp
  -s formatOptions QUALITY  how much detail jpeg, heic and webp keep: low, normal, high, best, or 0 to 100

Size and orientation, carried out in the order given
  -Z, --resampleHeightWidthMax N       make the longest side N pixels, smaller or larger; the aspect stays
  -z, --resampleHeightWidth H W        make the picture exactly H pixels high and W wide
      --resampleWidth N                make it N pixels wide; the aspect stays
      --resampleHeight N               make it N pixels high; the aspect stays
  -c, --cropToHeightWidth H W          keep the middle H by W pixels; a side that is smaller already stays as it is
  -r, --rotate DEGREES                 turn clockwise; multiples of 90 are exact, other angles make the picture
                                       larger, with white corners (clear ones where the picture has transparency)
  -f, --flip horizontal|vertical       swap left and right, or top and bottom

Looking
  -g, --getProperty NAME    print a property: pixelWidth, pixelHeight, format, space, bitsPerSample, hasAlpha or all.
                            Width and height are those of the picture held upright. With -g and nothing to change,
                            no file is written.

Output
  -o, --out FILE            write the result there; FILE is replaced if it exists
  -o, --out FOLDER          write each result there, under its own name with the extension of its format
                            Without --out each picture is replaced by its result, under the same name.
  Without "-s format" the extension of FILE decides the format; with none, or an unknown one, the format stays.

  --                        everything that follows is the name of a picture
  -h, --help                show this text
  -v, --version             show the version

What is kept
  The colour profile, the camera's notes and the resolution are kept where the format can hold them; for gif and bmp
  the colours are turned into sRGB. A picture that its camera marked as lying on its side is turned upright.
  Transparency becomes white in jpeg and bmp. 16 bits a channel stay in png and tiff. CMYK stays in jpeg and tiff.
  All frames are kept from and to gif, webp and tiff; other formats get the first one.

  A result appears under its name only when it is complete; a failure leaves nothing behind.

Exit status
  0  every picture was done
  1  at least one could not be done; each such picture has a line "sips: NAME: why" on standard error
  2  the command line cannot be understood

Examples
  sips -s format jpeg photo.png --out photo.jpg
  sips -Z 1000 *.jpg --out small/
  sips --cropToHeightWidth 300 300 -r 90 face.png --out face-90.png
  sips -g pixelWidth -g pixelHeight photo.heic
)";
}

} // namespace torvo::sips
