#include "output/result_inputs.h"

#include <algorithm>

#include "io/text.h"
#include "model/intervals.h"

std::pair<long, long> result_inputs::output_interval() const {
    return ::output_interval(params, plan);
}

std::pair<long, long> result_inputs::haps_interval() const {
    return ::haps_interval(params, plan);
}

std::size_t result_inputs::n_study() const {
    return plan.n_study;
}

std::vector<char> result_inputs::haploid_study() const {
    std::vector<char> haploid(n_study());
    for (std::size_t i = 0; i < haploid.size(); ++i) haploid[i] = panels[2].is_haploid(i) ? 1 : 0;
    return haploid;
}

std::size_t result_inputs::n_with_known_haps() const {
    const std::vector<bool>& known = panels[2].ordered;
    return static_cast<std::size_t>(std::count(known.begin(), known.end(), true));
}

bool result_inputs::all_have_known_haps() const {
    return n_with_known_haps() == panels[2].ordered.size();
}

bool result_inputs::any_has_known_haps() const {
    return n_with_known_haps() > 0;
}

std::string result_inputs::name(const std::string& ending) const {
    return concat(params.o_file, ending, params.o_gz ? ".gz" : "");
}
