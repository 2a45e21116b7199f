#pragma once

// A note that goes out only the first time.

#include <string_view>

class note_once {
  public:
    // where: a file or a source, which adds its name and place.
    template <typename Where>
    void odd(const Where& where, std::string_view what, std::string_view taken) {
        if (!said_) where.odd(what, taken);
        said_ = true;
    }
    template <typename Where>
    void say(const Where& where, std::string_view text) {
        if (!said_) where.note(text);
        said_ = true;
    }

  private:
    bool said_ = false;
};
