#include "chromosome/phased_file.h"

#include <htslib/hts.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <span>
#include <utility>

#include "io/run_log.h"
#include "io/text.h"

namespace {

// The values of a field of all people, in an array that the library allocates.
template <typename Value>
class field_values {
  public:
    field_values(const bcf_hdr_t* header, bcf1_t* record, const char* tag, int type) {
        void* values = nullptr;
        int capacity = 0;
        const int n = bcf_get_format_values(header, record, tag, &values, &capacity, type);
        values_.reset(static_cast<Value*>(values));
        n_ = n > 0 ? static_cast<std::size_t>(n) : 0;
    }
    std::span<Value> all() const { return {values_.get(), n_}; }
    // By person; empty when nobody has the field.
    std::span<Value> of(std::size_t person, std::size_t n_people) const {
        const std::size_t width = n_ / n_people;
        return all().subspan(person * width, width);
    }

  private:
    struct end {
        void operator()(Value* values) const { std::free(values); }
    };
    std::unique_ptr<Value, end> values_;
    std::size_t n_ = 0;
};

std::size_t people_of(const bcf_hdr_t* header) {
    return static_cast<std::size_t>(bcf_hdr_nsamples(header));
}

phased_pair pair_of(std::span<const std::int32_t> alleles) {
    phased_pair pair;
    if (alleles.size() < 2 || alleles[1] == bcf_int32_vector_end) return pair;
    pair.a = bcf_gt_is_missing(alleles[0]) ? -1 : bcf_gt_allele(alleles[0]);
    pair.b = bcf_gt_is_missing(alleles[1]) ? -1 : bcf_gt_allele(alleles[1]);
    pair.is_phased = bcf_gt_is_phased(alleles[1]) != 0;
    return pair;
}

}  // namespace

phased_file::phased_file(run_log& log, std::string name) : log_(log), name_(std::move(name)) {
    hts_set_log_level(HTS_LOG_OFF);  // messages are our own
    file_.reset(hts_open(name_.c_str(), "r"));
    header_.reset(file_ ? bcf_hdr_read(file_.get()) : nullptr);
    if (!header_) log_.fatal(concat("ERROR: Could not read the header of [", name_, "]."));
    if (people_of(header()) == 0) log_.fatal(concat("ERROR: The file [", name_, "] has no samples."));
}

std::vector<std::string> phased_file::samples() const {
    return {header_->samples, header_->samples + bcf_hdr_nsamples(header_.get())};
}

hts_record phased_file::next() {
    hts_record record(bcf_init());
    const int status = bcf_read(file_.get(), header_.get(), record.get());
    if (status == -1) return nullptr;
    if (status < -1 || record->errcode != 0 || bcf_unpack(record.get(), BCF_UN_ALL) != 0) {
        log_.fatal(
            concat("ERROR: The file [", name_, "] is damaged or cut off behind position ", last_position_ + 1, "."));
    }
    check_order(record.get());
    check_types(record.get());
    return record;
}

void phased_file::check_order(const bcf1_t* record) {
    const std::string contig = bcf_hdr_id2name(header(), record->rid);
    if (!last_contig_.empty() && contig != last_contig_) {
        log_.fatal(concat("ERROR: The file [", name_, "] has several chromosomes (", last_contig_, ", ", contig,
                          "); ligation takes one at a time."));
    }
    if (record->pos < last_position_) {
        log_.fatal(concat("ERROR: The file [", name_, "] is not sorted by position at ", record->pos + 1, "."));
    }
    if (record->pos != last_position_) sites_here_.clear();
    const std::string alleles = alleles_of(record);
    if (std::ranges::find(sites_here_, alleles) != sites_here_.end()) {
        log_.fatal(concat("ERROR: The file [", name_, "] has the site ", contig, ":", record->pos + 1, " ", alleles,
                          " twice."));
    }
    sites_here_.push_back(alleles);
    last_contig_ = contig;
    last_position_ = record->pos;
}

// The library ends the program when it is asked for the numbers of a field of texts.
void phased_file::check_types(bcf1_t* record) const {
    for (const char* name : {"GT", "HDS", "PQ"}) {
        const bcf_fmt_t* const field = find_format(header(), record, name);
        if (field == nullptr || are_numbers(field->type)) continue;
        log_.fatal(concat("ERROR: The field ", name, " of the file [", name_,
                          "] is not of the type that it should have, ", "at position ", record->pos + 1, "."));
    }
}

std::string alleles_of(const bcf1_t* record) {
    std::string text;
    for (int i = 0; i < record->n_allele; ++i) text += concat(i == 0 ? "" : ">", record->d.allele[i]);
    return text;
}

std::vector<phased_pair> genotypes_of(const bcf_hdr_t* header, bcf1_t* record) {
    const field_values<std::int32_t> alleles(header, record, "GT", BCF_HT_INT);
    const field_values<std::int32_t> confidences(header, record, "PQ", BCF_HT_INT);
    std::vector<phased_pair> pairs(people_of(header));
    for (std::size_t i = 0; i < pairs.size(); ++i) {
        pairs[i] = pair_of(alleles.of(i, pairs.size()));
        const std::span<const std::int32_t> told = confidences.of(i, pairs.size());
        if (!told.empty()) pairs[i].confidence = std::max(told[0], -1);  // missing ones lie below 0
    }
    return pairs;
}

void turn_haplotypes(const bcf_hdr_t* header, bcf1_t* record, const std::vector<bool>& turned) {
    const field_values<std::int32_t> alleles(header, record, "GT", BCF_HT_INT);
    const field_values<float> dosages(header, record, "HDS", BCF_HT_REAL);
    for (std::size_t i = 0; i < turned.size(); ++i) {
        if (!turned[i]) continue;
        const std::span<std::int32_t> pair = alleles.of(i, turned.size());
        if (pair_of(pair).is_phased) {
            // The mark of phase stands with the second allele.
            const std::int32_t first = pair[0];
            pair[0] = pair[1] & ~1;
            pair[1] = first | 1;
        }
        const std::span<float> sides = dosages.of(i, turned.size());
        if (sides.size() == 2 && bcf_float_is_vector_end(sides[1]) == 0) std::swap(sides[0], sides[1]);
    }
    if (!alleles.all().empty()) {
        bcf_update_genotypes(header, record, alleles.all().data(), static_cast<int>(alleles.all().size()));
    }
    if (!dosages.all().empty()) {
        bcf_update_format_float(header, record, "HDS", dosages.all().data(), static_cast<int>(dosages.all().size()));
    }
}

void set_confidences(const bcf_hdr_t* header, bcf1_t* record, const std::vector<int>& confidences) {
    if (std::ranges::all_of(confidences, [](int confidence) { return confidence < 0; })) return;
    const field_values<std::int32_t> values(header, record, "PQ", BCF_HT_INT);
    if (values.all().empty()) return;
    for (std::size_t i = 0; i < confidences.size(); ++i) {
        if (confidences[i] >= 0) values.of(i, confidences.size())[0] = confidences[i];
    }
    bcf_update_format_int32(header, record, "PQ", values.all().data(), static_cast<int>(values.all().size()));
}
