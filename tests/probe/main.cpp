// Answers JSON lines on standard input with JSON lines on standard output, for tests that drive Torvo's pure functions
// from outside.
#include "tests/probe/Operations.h"

#include <nlohmann/json.hpp>

#include <iostream>
#include <string>

int main() {
    for (std::string line; std::getline(std::cin, line);)
        std::cout << torvo::compactJson(torvo::probe::answer(line)) << std::endl;
    return 0;
}
