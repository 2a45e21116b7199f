#include "io/input_file.h"

#include <fcntl.h>
#include <htslib/hfile.h>
#include <htslib/hts.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <ios>
#include <system_error>
#include <utility>

#include "io/run_log.h"
#include "io/text.h"

namespace {

// Null when the file cannot be opened.
hFILE* open_stream(const std::string& name) {
    const int descriptor = is_standard_input(name) ? dup(STDIN_FILENO) : open(name.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) return nullptr;
    hFILE* const stream = hdopen(descriptor, "r");
    if (stream == nullptr) close(descriptor);
    return stream;
}

bool has_variants(hFILE* stream) {
    htsFormat format;
    if (hts_detect_format2(stream, nullptr, &format) != 0) return false;
    return format.format == vcf || format.format == bcf;
}

}  // namespace

input_file::input_file(run_log& log, std::string name, std::string_view missing_message,
                       std::string_view unopened_message)
    : name_(std::move(name)) {
    struct stat status {};
    const bool standard = is_standard_input(name_);
    if ((standard ? fstat(STDIN_FILENO, &status) : stat(name_.c_str(), &status)) != 0) {
        note_unopened(log, name_, errno);
        log.fatal(missing_message);
    }
    if (S_ISDIR(status.st_mode)) {
        note_unopened(log, name_, EISDIR);
        log.fatal(unopened_message);
    }
    is_regular_ = S_ISREG(status.st_mode) && !standard;
    stream_ = open_stream(name_);
    if (stream_ == nullptr) {
        note_unopened(log, name_, errno);
        log.fatal(unopened_message);
    }
}

input_file::input_file(input_file&& other) noexcept
    : name_(std::move(other.name_)), stream_(std::exchange(other.stream_, nullptr)), is_regular_(other.is_regular_) {}

input_file::~input_file() {
    if (stream_ != nullptr) hclose_abruptly(stream_);
}

bool input_file::holds_variants() const {
    return has_variants(stream_);
}

std::size_t input_file::read(char* to, std::size_t n) {
    const ssize_t n_read = hread(stream_, to, n);
    if (n_read < 0) throw std::ios_base::failure("error reading", std::error_code(errno, std::generic_category()));
    return static_cast<std::size_t>(n_read);
}

hFILE* input_file::release() {
    return std::exchange(stream_, nullptr);
}

void note_unopened(run_log& log, const std::string& name, int error) {
    if (name == "NULL") {
        log.note("note: No file is named by the option, or NULL, which stands for none.");
    } else {
        log.note(concat("note: [", name, "]: ", std::strerror(error), "."));
    }
}

bool is_pipe(const std::string& name) {
    struct stat status {};
    return is_standard_input(name) ||
           (stat(name.c_str(), &status) == 0 && !S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode));
}

bool is_variant_file(const std::string& name) {
    struct stat status {};
    if (stat(name.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) return false;
    hFILE* const stream = open_stream(name);
    if (stream == nullptr) return false;
    const bool found = has_variants(stream);
    hclose_abruptly(stream);
    return found;
}
