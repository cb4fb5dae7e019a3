// Carries out one HTTP request for another program of Torvo: it is read from the standard input, to its end, and the
// answer is written to the standard output (see HttpMessage.h).
#include "linux/CurlHttpSession.h"
#include "linux/HttpMessage.h"
#include "support/AtomicFile.h"

#include <sys/prctl.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>

int main() {
    // Nobody is left to tell when the program that asks has ended.
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    std::string bytes;
    if (torvo::readAll(STDIN_FILENO, bytes) != 0)
        return EXIT_FAILURE;
    const auto request = torvo::decodedRequest(bytes);
    if (!request)
        return EXIT_FAILURE;
    const auto answer = torvo::encodedAnswer(torvo::CurlHttpSession().perform(*request, {}));
    return torvo::writeAll(STDOUT_FILENO, answer) == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
