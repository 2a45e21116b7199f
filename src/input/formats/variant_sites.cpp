#include "input/formats/variant_sites.h"

#include <algorithm>
#include <array>
#include <optional>

#include "io/run_log.h"
#include "io/text.h"

namespace {

// Where a pseudoautosomal region of chromosome X ends or begins: the last position left of the boundary.
struct boundary {
    long left;
    const char* words;
};
constexpr std::array<boundary, 4> boundaries{
    {{2699520, "the first pseudoautosomal region of X ends at 2699520 (GRCh37)"},
     {2781479, "the first pseudoautosomal region of X ends at 2781479 (GRCh38)"},
     {154931043, "the second pseudoautosomal region of X begins at 154931044 (GRCh37)"},
     {155701382, "the second pseudoautosomal region of X begins at 155701383 (GRCh38)"}}};

bool is_x(const contig_info& contig) {
    return is_same_contig(contig.name, "X") || is_same_contig(contig.name, "23");
}

// The boundaries between two positions of the chromosome in words; both builds may have one there.
std::string boundaries_between(const contig_info& contig, long left, long right) {
    std::string text;
    if (!is_x(contig)) return text;
    for (const boundary& at : boundaries) {
        if (left <= at.left && at.left < right) text += (text.empty() ? "" : " or ") + std::string(at.words);
    }
    return text;
}

// Whether an ALT is an allele that somebody may carry.
bool is_allele(std::string_view alt) {
    return alt != "*" && alt != "." && alt != "<NON_REF>" && alt != "<*>";
}

constexpr std::uint8_t unknown_ploidy = 0;
constexpr std::size_t most_records_ahead = 5000;

}  // namespace

variant_sites::variant_sites(run_log& log, const source_request& request, input_file&& file)
    : log_(log),
      request_(request),
      file_(log, request, std::move(file)),
      info_(file_.header()),
      record_(bcf_init()),
      ploidies_(file_.samples().size(), unknown_ploidy),
      calls_(file_.samples().size()) {
    settle_ploidies();
}

void variant_sites::settle_ploidies() {
    while (ahead_.size() < most_records_ahead) {
        hts_record record(bcf_init());
        if (!file_.next(record.get())) break;
        if (ahead_.empty()) contig_ = file_.contig();
        ahead_.push_back(std::move(record));
        if (read_calls(file_.header(), ahead_.back().get(), calls_) == call_fault::none) learn(calls_);
        if (ploidies_are_settled(ahead_.back()->pos + 1)) break;
    }
    const std::size_t first = merge_ploidies();
    ahead_.erase(ahead_.begin(), ahead_.begin() + static_cast<std::ptrdiff_t>(first));
    // Nobody's call tells: as all others.
    const bool all_haploid =
        std::count(ploidies_.begin(), ploidies_.end(), 1) > 0 && std::count(ploidies_.begin(), ploidies_.end(), 2) == 0;
    std::replace(ploidies_.begin(), ploidies_.end(), unknown_ploidy, static_cast<std::uint8_t>(all_haploid ? 1 : 2));
}

// Left of the interval the records may lie in another region of chromosome X.
bool variant_sites::ploidies_are_settled(long position) const {
    if (position < request_.interval_lower &&
        !boundaries_between(contig_, request_.lower, request_.interval_lower).empty()) {
        return false;
    }
    return std::find(ploidies_.begin(), ploidies_.end(), unknown_ploidy) == ploidies_.end();
}

void variant_sites::learn(std::span<const variant_call> calls) {
    for (std::size_t i = 0; i < calls.size(); ++i) {
        if (ploidies_[i] == unknown_ploidy) ploidies_[i] = static_cast<std::uint8_t>(calls[i].ploidy());
    }
}

bool variant_sites::agrees(std::span<const variant_call> calls) const {
    for (std::size_t i = 0; i < calls.size(); ++i) {
        const int ploidy = calls[i].ploidy();
        if (ploidy != 0 && ploidies_[i] != unknown_ploidy && ploidy != ploidies_[i]) return false;
    }
    return true;
}

std::size_t variant_sites::merge_ploidies() {
    std::fill(ploidies_.begin(), ploidies_.end(), unknown_ploidy);
    for (std::size_t i = ahead_.size(); i-- > 0;) {
        bcf1_t* const record = ahead_[i].get();
        const long position = record->pos + 1;
        if (read_calls(file_.header(), record, calls_) == call_fault::none) {
            const std::string crossed = boundaries_between(contig_, position, request_.interval_lower);
            if (!crossed.empty() && !agrees(calls_)) {
                file_.note(
                    record,
                    concat(crossed,
                           "; what lies left of it is left out, since people have another number of alleles there"));
                return i + 1;
            }
            learn(calls_);
        }
    }
    return 0;
}

bool variant_sites::next_record() {
    if (ahead_.empty()) {
        if (!file_.next(record_.get())) return false;
    } else {
        record_ = std::move(ahead_.front());
        ahead_.pop_front();
    }
    if (bcf_unpack(record_.get(), BCF_UN_STR) != 0 || record_->n_allele == 0) fail("The record cannot be read");
    if (record_->pos + 1 != position_) at_position_.clear();
    position_ = record_->pos + 1;
    allele_ = 0;
    have_calls_ = false;
    return !leaves_region_of_x();
}

bool variant_sites::leaves_region_of_x() {
    const std::string crossed = boundaries_between(contig_, request_.interval_upper, position_);
    if (crossed.empty() || read_calls(file_.header(), record_.get(), calls_) != call_fault::none || agrees(calls_)) {
        return false;
    }
    note(concat(crossed, "; what lies right of it is left out, since people have another number of alleles there"));
    return true;
}

bool variant_sites::next(site_fields& site) {
    while (true) {
        if (allele_ + 1 < static_cast<int>(record_->n_allele)) {
            ++allele_;
            if (take_allele(site)) return true;
            continue;
        }
        if (!next_record()) return false;
        const auto* const alleles = record_->d.allele;
        if (std::none_of(alleles + 1, alleles + record_->n_allele, is_allele)) ++n_without_alt_;
    }
}

bool variant_sites::take_allele(site_fields& site) {
    const std::string_view ref = record_->d.allele[0];
    const std::string_view alt = record_->d.allele[allele_];
    if (!is_allele(alt) || is_repeated(ref, alt)) return false;
    id_ = record_->d.id;
    if (id_.empty() || id_ == ".") id_ = concat(contig_.name, ":", position_, ":", ref, ":", alt);
    site = {"---", id_, position_, ref, alt};
    return true;
}

bool variant_sites::is_repeated(std::string_view ref, std::string_view alt) {
    if (at_position_.emplace(ref, alt).second) return false;
    ++n_repeated_;
    log_.warn(concat("WARNING: The site ", contig_.name, ":", position_, " ", ref, " ", alt,
                     " occurs more than once in the file [", request_.file, "]; the first one counts."));
    return true;
}

std::span<const variant_call> variant_sites::calls() {
    if (have_calls_) return calls_;
    switch (read_calls(file_.header(), record_.get(), calls_)) {
        case call_fault::no_genotypes:
            fail("There are no genotypes (GT)");
        case call_fault::too_many_alleles:
            fail("There are genotypes of more than two alleles");
        case call_fault::unknown_allele:
            fail("There are genotypes of alleles that the record does not name");
        case call_fault::none:
            break;
    }
    have_calls_ = true;
    for (variant_call& call : calls_) {
        if (!call.is_half()) continue;
        ++n_half_;
        call.first = call.second = variant_call::missing;
    }
    check_ploidies();
    return calls_;
}

void variant_sites::check_ploidies() {
    for (std::size_t i = 0; i < calls_.size(); ++i) {
        const int ploidy = calls_[i].ploidy();
        if (ploidy != 0 && ploidy != ploidies_[i]) refuse_change(i, ploidy);
    }
}

void variant_sites::refuse_change(std::size_t sample, int ploidy) {
    std::string text = concat("The person has ", ploidy == 1 ? "one allele" : "two alleles", " here and ",
                              ploidy == 1 ? "two" : "one", " elsewhere in the region");
    if (const std::string crossed = boundaries_between(contig_, request_.lower, position_); !crossed.empty()) {
        text += concat("; ", crossed, ": choose -int and -buffer so that the region does not cross it");
    }
    fail_at(sample, text);
}

void variant_sites::fail_at(std::size_t sample, std::string_view what) const {
    fail(concat(what, ", for the sample ", file_.samples()[sample]));
}

std::vector<std::string> variant_sites::remarks() const {
    std::vector<std::string> lines;
    const auto add = [&lines](std::size_t n, const char* verb, const char* what) {
        if (n > 0) lines.push_back(concat(" --", verb, n, what));
    };
    add(n_half_, "took ", " half-called genotypes as missing");
    add(n_without_alt_, "passed over ", " records without an ALT allele");
    add(n_repeated_, "passed over ", " sites that occur more than once");
    return lines;
}
