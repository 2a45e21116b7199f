#pragma once

// Lists of names, of sites or of samples, which remember what was found.

#include <cstddef>
#include <initializer_list>
#include <map>
#include <string>
#include <string_view>
#include <vector>

class text_input;
class run_log;

// IDs of a list; can be asked with a view of a line.
class id_set {
  public:
    id_set() = default;
    id_set(std::initializer_list<std::string_view> ids);
    void insert(std::string_view id) { found_.try_emplace(std::string(id), false); }
    std::size_t size() const { return found_.size(); }
    bool empty() const { return found_.empty(); }

    // Whether the ID is on the list, where it counts as found from now on.
    bool contains(std::string_view id);
    // Whether anybody has asked for an ID.
    bool was_asked() const { return was_asked_; }
    std::size_t n_found() const;
    // The first of those that were not found, in order of their text, and how many there are behind them: "a, b and 3
    // more".
    std::string not_found() const;

    // The same IDs.
    bool operator==(const id_set& other) const;

  private:
    std::map<std::string, bool, std::less<>> found_;
    bool was_asked_ = false;
};

// The first field of each line that has one.
id_set read_first_fields(text_input& file);

// One line on standard error: how many entries of the list were found, and some that were not, with a remark. If one is
// needed, a list of which nothing was found ends the run. option: that names the file.
void report_found(run_log& log, const id_set& list, const std::string& option, const std::string& file, bool needed,
                  std::string_view remark);
