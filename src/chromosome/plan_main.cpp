#include <iostream>

#include "chromosome/plan_command.h"
#include "io/process_start.h"

int main(int argc, char** argv) {
    prepare_process();
    return run_plan_command(std::vector<std::string>(argv + 1, argv + argc), std::cout, std::cerr);
}
