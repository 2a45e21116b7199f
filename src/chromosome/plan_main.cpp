#include <iostream>

#include "chromosome/plan_command.h"

int main(int argc, char** argv) {
    return run_plan_command(std::vector<std::string>(argv + 1, argv + argc), std::cout, std::cerr);
}
