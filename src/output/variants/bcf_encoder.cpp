#include "output/variants/bcf_encoder.h"

#include <array>

#include "output/site_columns.h"

bcf_encoder::bcf_encoder(const result_inputs& run, bcf_hdr_t* header)
    : run_(run), header_(header), record_(bcf_init()), one_(variant_unit(run.params)), ploidy_(1), figures_(run) {
    for (std::size_t i = 0; i < run.n_study(); ++i) {
        if (!run.panels[2].is_haploid(i)) ploidy_ = 2;
    }
}

hts_record bcf_encoder::encode(const variant_record& record) {
    bcf_clear(record_.get());
    const variant_fields fields = line_fields(record, *run_.plan.variants);
    bool good = set_site(record) && set_info(record);
    good = good && (!fields.gt || set_genotypes(record));
    good = good && (!fields.ds || set_dosages(record));
    good = good && (!fields.gp || set_probs(record));
    good = good && (!fields.hds || set_haps(record));
    good = good && (!fields.pq || set_confidences(record));
    return hts_record(good ? bcf_dup(record_.get()) : nullptr);  // a copy is put together
}

bool bcf_encoder::set_site(const variant_record& record) {
    const snp& site = *run_.sites.in_order[record.site];
    const panel_labels& labels = output_labels(run_.params, site, site.type);
    const std::string alt = alt_text(labels.a1);
    std::array<const char*, 2> alleles{labels.a0.c_str(), alt.c_str()};
    record_->rid = 0;
    record_->pos = run_.sites.positions[record.site] - 1;
    return bcf_update_id(header_, record_.get(), id_text(site).c_str()) == 0 &&
           bcf_update_alleles(header_, record_.get(), alleles.data(), 2) == 0;
}

bool bcf_encoder::set_info(const variant_record& record) {
    bool good = true;
    for (const info_figure& figure : figures_.of(record)) {
        const auto number = static_cast<float>(static_cast<double>(figure.units) / 1e6);
        good = good && bcf_update_info_float(header_, record_.get(), figure.key, &number, 1) == 0;
    }
    const std::size_t type = run_.sites.in_order[record.site]->type;
    const auto type_number = static_cast<std::int32_t>(type);
    return good && bcf_update_info_int32(header_, record_.get(), "TYPE", &type_number, 1) == 0 &&
           bcf_update_info_flag(header_, record_.get(), type_flag(type), nullptr, 1) == 0;
}

bool bcf_encoder::set_genotypes(const variant_record& record) {
    integers_.clear();
    const auto code = [](int allele, bool phased) {
        return (allele < 0 ? bcf_gt_missing : bcf_gt_unphased(allele)) | (phased ? 1 : 0);
    };
    for (const variant_genotype& g : record.genotypes) {
        integers_.push_back(code(g.alleles[0], false));
        if (ploidy_ == 2) integers_.push_back(g.haploid ? bcf_int32_vector_end : code(g.alleles[1], g.phased));
    }
    return bcf_update_genotypes(header_, record_.get(), integers_.data(), static_cast<int>(integers_.size())) == 0;
}

float bcf_encoder::value(int units) const {
    return static_cast<float>(units / one_);
}

void bcf_encoder::add_end() {
    bcf_float_set_vector_end(floats_.emplace_back());
}

void bcf_encoder::add_missing(std::size_t n) {
    bcf_float_set_missing(floats_.emplace_back());
    for (std::size_t k = 1; k < n; ++k) add_end();
}

bool bcf_encoder::set_floats(const char* key) {
    return bcf_update_format_float(header_, record_.get(), key, floats_.data(), static_cast<int>(floats_.size())) == 0;
}

bool bcf_encoder::set_dosages(const variant_record& record) {
    floats_.clear();
    for (const variant_genotype& g : record.genotypes) {
        if (g.has_probs) {
            floats_.push_back(value(g.dosage));
        } else {
            add_missing(1);
        }
    }
    return set_floats("DS");
}

bool bcf_encoder::set_probs(const variant_record& record) {
    floats_.clear();
    for (const variant_genotype& g : record.genotypes) {
        if (!g.has_probs) {
            add_missing(ploidy_ + 1);
            continue;
        }
        floats_.push_back(value(g.probs[0]));
        if (!g.haploid) floats_.push_back(value(g.probs[1]));
        floats_.push_back(value(g.probs[2]));
        if (g.haploid && ploidy_ == 2) add_end();
    }
    return set_floats("GP");
}

bool bcf_encoder::set_haps(const variant_record& record) {
    floats_.clear();
    for (const variant_genotype& g : record.genotypes) {
        if (g.haps[0] < 0) {
            add_missing(ploidy_);
            continue;
        }
        floats_.push_back(value(g.haps[0]));
        if (!g.haploid) floats_.push_back(value(g.haps[1]));
        if (g.haploid && ploidy_ == 2) add_end();
    }
    return set_floats("HDS");
}

bool bcf_encoder::set_confidences(const variant_record& record) {
    integers_.clear();
    for (const variant_genotype& g : record.genotypes) {
        integers_.push_back(g.confidence < 0 ? bcf_int32_missing : g.confidence);
    }
    return bcf_update_format_int32(header_, record_.get(), "PQ", integers_.data(),
                                   static_cast<int>(integers_.size())) == 0;
}
