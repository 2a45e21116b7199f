#include <iostream>

#include "chromosome/ligate_command.h"

int main(int argc, char** argv) {
    return run_ligate_command(std::vector<std::string>(argv + 1, argv + argc), std::cout, std::cerr);
}
