#include "io/pending_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <filesystem>

#include "io/removal_list.h"
#include "io/text.h"

namespace {

// Short, since the name of the file may be as long as names can be; of one process and one file.
std::string temporary_name(const std::string& target) {
    static std::atomic<unsigned> n_files{0};
    const std::string piece = concat(".orvide_", getpid(), "_", n_files++, ".tmp");
    return (std::filesystem::path(target).parent_path() / piece).string();
}

// Gives the new file what opening and truncating the old one would have kept. The owner can be changed by few.
void keep_owner_and_mode(int descriptor, const std::string& old) {
    struct stat status {};
    if (stat(old.c_str(), &status) != 0) return;
    if (fchown(descriptor, status.st_uid, status.st_gid) != 0) errno = 0;
    fchmod(descriptor, status.st_mode & 0777);
}

}  // namespace

pending_file::pending_file(const std::string& name, file_life life) {
    const file_target target = target_of(name);
    target_ = target.path;
    if (target.is_stream) {
        open_in_place({name, true, target.identity});
        return;
    }
    if (target.identity) error_ = why_not_writable(target);
    if (error_ != 0) return;
    open_temporary(target);
    const bool no_new_files = error_ == EACCES || error_ == EPERM || error_ == EROFS;
    if (target.identity && no_new_files) open_in_place(target);
    if (descriptor_ >= 0 && life == file_life::result) watched_ = fcntl(descriptor_, F_DUPFD_CLOEXEC, 0);
}

pending_file::~pending_file() {
    if (watched_ >= 0) close(watched_);
    if (!removal_) return;
    unlink(path_.c_str());
    forget();
}

void pending_file::open_temporary(const file_target& target) {
    do {  // another host may have a process of this number
        path_ = temporary_name(target.path);
        descriptor_ = open(path_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    } while (descriptor_ < 0 && errno == EEXIST);
    error_ = descriptor_ < 0 ? errno : 0;
    if (descriptor_ < 0) return;
    removal_ = removal_list::add(path_);
    if (target.identity) keep_owner_and_mode(descriptor_, target.path);
}

void pending_file::open_in_place(const file_target& target) {
    path_ = target.path;
    descriptor_ = open(path_.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    error_ = descriptor_ < 0 ? errno : 0;
}

void pending_file::forget() {
    removal_list::take_back(*removal_);
    removal_.reset();
}

int pending_file::make_durable() {
    if (watched_ < 0) return 0;
    int error = 0;
    do {
        error = fdatasync(watched_) == 0 ? 0 : errno;
    } while (error == EINTR);
    close(watched_);
    watched_ = -1;
    const bool cannot_wait = error == EINVAL || error == ENOSYS || error == ENOTSUP || error == EROFS;
    return cannot_wait ? 0 : error;  // of a file system that has no such call
}

int pending_file::publish() {
    if (const int error = make_durable(); error != 0) return error;
    if (!removal_) return error_;
    if (std::rename(path_.c_str(), target_.c_str()) != 0) return errno;
    forget();
    return 0;
}
