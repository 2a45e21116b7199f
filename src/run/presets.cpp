#include "run/presets.h"

#include <array>
#include <sstream>

namespace {

struct preset {
    std::string_view name;
    std::string_view options;
};

constexpr std::array presets{
    preset{"fast", "-local_states 100 -switch_rate 4 -k 40 -iter 10 -burnin 3 -final_states 160"},
    preset{"balanced", "-local_states 100 -switch_rate 4 -k 80 -iter 20 -burnin 4 -final_states 320 -final_rounds 3"},
    preset{"accurate",
           "-local_states 100 -switch_rate 4 -k 100 -iter 40 -burnin 5 -final_states 400 -final_rounds 8 -k_hap 1000"},
};

}  // namespace

std::vector<std::string> preset_options(std::string_view name) {
    std::vector<std::string> words;
    for (const preset& row : presets) {
        if (row.name != name) continue;
        std::istringstream text{std::string(row.options)};
        for (std::string word; text >> word;) words.push_back(word);
    }
    return words;
}

std::string preset_names() {
    std::string names;
    for (const preset& row : presets) {
        if (!names.empty()) names += &row == &presets.back() ? " or " : ", ";
        names += row.name;
    }
    return names;
}
