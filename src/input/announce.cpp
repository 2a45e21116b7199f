#include "input/announce.h"

#include <sys/stat.h>

#include <cerrno>

#include "io/input_file.h"
#include "io/run_log.h"
#include "io/text.h"

bool file_exists(const std::string& name) {
    struct stat status {};
    return stat(name.c_str(), &status) == 0;
}

void require_file(run_log& log, const std::string& name, std::string_view message) {
    if (is_standard_input(name) || file_exists(name)) return;
    note_unopened(log, name, errno);
    log.fatal(message);
}

void print_file_name(run_log& log, const std::string& name) {
    log.line(concat(" --filename=[", name, "]"));
}

void announce(run_log& log, std::string_view stage, const std::string& name) {
    log.stage(stage);
    print_file_name(log, name);
}

std::string missing_text(std::string_view option) {
    return concat("ERROR: The ", option, " file you specified does not exist.");
}

std::string unopened_text(std::string_view what, const std::string& name) {
    return concat("ERROR: The ", what, " [", name, "] could not be opened.");
}
