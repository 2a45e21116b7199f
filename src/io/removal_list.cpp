#include "io/removal_list.h"

#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <deque>
#include <mutex>

namespace {

// Written once, then linked and never freed while the program runs, so that a signal handler may read it at any time.
struct entry {
    std::string name;
    entry* before = nullptr;
    std::atomic<bool> pending{true};
};

std::deque<entry>& entries() {
    static auto* const all = new std::deque<entry>;  // outlives every handler
    return *all;
}
std::mutex entries_mutex;
std::atomic<entry*> last_entry{nullptr};

}  // namespace

std::size_t removal_list::add(const std::string& name) {
    const std::lock_guard lock(entries_mutex);
    std::deque<entry>& all = entries();
    entry& added = all.emplace_back();
    added.name = name;
    added.before = last_entry;
    last_entry = &added;
    return all.size() - 1;
}

void removal_list::take_back(std::size_t number) {
    const std::lock_guard lock(entries_mutex);
    entries()[number].pending = false;
}

void removal_list::remove_all() {
    const int old_error = errno;
    for (entry* e = last_entry; e != nullptr; e = e->before) {
        if (!e->pending.exchange(false)) continue;
        const char* const name = e->name.c_str();
        if (unlink(name) != 0) rmdir(name);
    }
    errno = old_error;
}
