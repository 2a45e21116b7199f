#include "chromosome/overlap_phase.h"

#include <algorithm>
#include <cstdlib>

namespace {

constexpr std::size_t n_deciding = 5;  // on each side of the middle

}  // namespace

void overlap_phase::add(std::span<const phased_pair> before, std::span<const phased_pair> after,
                        bool is_behind_middle) {
    for (std::size_t i = 0; i < people_.size(); ++i) {
        if (!before[i].is_phased_heterozygote() || !after[i].is_phased_heterozygote()) continue;
        const bool same = before[i].a == after[i].a && before[i].b == after[i].b;
        const bool turned = before[i].a == after[i].b && before[i].b == after[i].a;
        if (!same && !turned) continue;
        people_[i].told.push_back({sites_.size(), turned, before[i].confidence, after[i].confidence, is_behind_middle});
    }
    sites_.push_back(
        {std::vector<bool>(people_.size()), std::vector<bool>(people_.size()), std::vector<int>(people_.size(), -1)});
}

void overlap_phase::settle() {
    for (std::size_t i = 0; i < people_.size(); ++i) {
        person_phase& person = people_[i];
        if (person.told.empty()) continue;
        // The first one stands relative to nothing here.
        const bool confident = std::all_of(person.told.begin() + 1, person.told.end(),
                                           [](const heterozygote& h) { return h.before >= 0 && h.after >= 0; });
        if (confident) {
            follow_confidence(person);
        } else {
            follow_middle(person);
        }
        person.turned = person.told.back().turned_after;
        spread(i);
    }
}

void overlap_phase::follow_confidence(person_phase& person) {
    person.undecided = false;
    bool turned = false;  // relative to the earlier chunk
    for (std::size_t k = 0; k < person.told.size(); ++k) {
        heterozygote& here = person.told[k];
        if (k > 0 && here.differs != person.told[k - 1].differs) {
            const bool follows_after = here.after != here.before ? here.after > here.before : here.is_behind_middle;
            if (follows_after) turned = !turned;
            here.joined_confidence = std::abs(here.after - here.before);
        }
        here.turned_before = turned;
        here.turned_after = turned != here.differs;
    }
}

void overlap_phase::follow_middle(person_phase& person) {
    const auto middle = std::ranges::find(person.told, true, &heterozygote::is_behind_middle);
    const auto balance = [](auto from, auto to) {
        const std::ptrdiff_t turned = std::count_if(from, to, [](const heterozygote& h) { return h.differs; });
        return 2 * turned - (to - from);
    };
    const auto reach = static_cast<std::ptrdiff_t>(n_deciding);
    std::ptrdiff_t votes = balance(middle - std::min(reach, middle - person.told.begin()),
                                   middle + std::min(reach, person.told.end() - middle));
    if (votes == 0) votes = balance(person.told.begin(), person.told.end());
    person.undecided = votes == 0;
    for (heterozygote& h : person.told) h.turned_after = votes > 0;
}

// From the heterozygotes to all sites: each one up to the next, the first one also to those before it.
void overlap_phase::spread(std::size_t person) {
    const std::vector<heterozygote>& told = people_[person].told;
    std::size_t k = 0;
    for (std::size_t site = 0; site < sites_.size(); ++site) {
        if (k + 1 < told.size() && told[k + 1].site == site) ++k;
        sites_[site].turned_before[person] = told[k].turned_before;
        sites_[site].turned_after[person] = told[k].turned_after;
        if (told[k].site == site) sites_[site].confidences[person] = told[k].joined_confidence;
    }
}

std::size_t overlap_phase::n_counted() const {
    std::size_t n = 0;
    for (const person_phase& person : people_) n += person.told.size();
    return n;
}

std::size_t overlap_phase::n_agreeing() const {
    std::size_t n = 0;
    for (const person_phase& person : people_) {
        n += static_cast<std::size_t>(std::ranges::count(person.told, person.turned, &heterozygote::differs));
    }
    return n;
}
