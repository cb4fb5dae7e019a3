# One interface target that every target of ours links: language level, warnings as errors, sanitizers.
add_library(torvo_options INTERFACE)
target_compile_options(torvo_options INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual -Wcast-qual -Werror
    # False positives of g++ 12 in its own std::string (GCC bug 105651).
    $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>
    # Designated initialisers leave the other members at their defaults on purpose.
    -Wno-missing-field-initializers)

if(TORVO_SANITIZE)
    add_compile_options(-fsanitize=${TORVO_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
    add_link_options(-fsanitize=${TORVO_SANITIZE})
endif()
if(TORVO_FUZZ)
    # Coverage for libFuzzer; each fuzzer links its main program on top.
    add_compile_options(-fsanitize=fuzzer-no-link)
endif()
