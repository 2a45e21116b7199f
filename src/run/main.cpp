#include <iostream>

#include "run/program.h"

int main(int argc, char** argv) {
    return run_program(std::vector<std::string>(argv, argv + argc), std::cout, std::cerr);
}
