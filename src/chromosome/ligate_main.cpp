#include <iostream>

#include "chromosome/ligate_command.h"
#include "io/process_start.h"

int main(int argc, char** argv) {
    prepare_process();
    return run_ligate_command(std::vector<std::string>(argv + 1, argv + argc), std::cout, std::cerr);
}
