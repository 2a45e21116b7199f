#include <iostream>

#include "io/process_start.h"
#include "run/program.h"

int main(int argc, char** argv) {
    prepare_process();
    return run_program(std::vector<std::string>(argv, argv + argc), std::cout, std::cerr);
}
