// The closing stages of reading: which sites stay, and as what, now that all panels are in the store.

#include <utility>

#include "input/empty_region.h"
#include "input/hole_preparation.h"
#include "input/readers.h"
#include "input/site_placement.h"
#include "io/run_log.h"
#include "io/text.h"
#include "model/parameters.h"
#include "model/run_plan.h"
#include "model/site_table.h"

namespace {

class hierarchy_pass {
  public:
    hierarchy_pass(const input_rooms& rooms, id_set* include_snps) : rooms_(rooms), include_snps_(include_snps) {}
    void visit_all();
    void report() const;

  private:
    enum class fate { stays, erased };
    fate visit(long position, snp& site);
    // A site with study data or Panel 1 data that lacks a panel.
    fate settle_type3(snp& site);
    fate settle_without_panel0(snp& site);
    fate settle_without_panel1(snp& site);
    // A study site that cannot inform the imputation stays as one of Panel 2 alone if such sites are put out.
    fate reduce_to_type3(snp& site, std::size_t panel_to_clear);
    bool is_listed(long position, const snp& site);

    const input_rooms& rooms_;
    id_set* include_snps_;  // null without a list
    std::size_t n_to_type0_ = 0, n_to_type3_ = 0, n_stage_one_ = 0, n_panel1_only_ = 0, n_not_listed_ = 0, n_donut_ = 0;
};

void clear_panel(snp& site, std::size_t panel) {
    site.labels[panel] = {};
    site.haps[panel].clear();
    if (panel == 0) return;
    site.gtypes[panel] = {};
    site.gtype_probs[panel] = {};
    if (panel == 1) return;
    site.known_phase_flags.clear();
    site.known_haps_flags.clear();
    site.hap_init_flags.clear();
}

hierarchy_pass::fate hierarchy_pass::reduce_to_type3(snp& site, std::size_t panel_to_clear) {
    ++n_to_type3_;
    if (!rooms_.plan.output_types[3]) return fate::erased;
    clear_panel(site, panel_to_clear);
    return fate::stays;
}

hierarchy_pass::fate hierarchy_pass::settle_without_panel0(snp& site) {
    if (site.in_panel(2)) return reduce_to_type3(site, 1);
    ++n_panel1_only_;
    return fate::erased;
}

hierarchy_pass::fate hierarchy_pass::settle_without_panel1(snp& site) {
    const parameters& params = rooms_.params;
    if (params.use_panel1_for_type0_imputation && params.keep_donut_snps) {
        site.panel1_placeholder = true;
        site.type = site.top_panel = 2;
        copy_as_zeros(site, 0, 1, rooms_.panels[1].n_hap);
        ++n_donut_;
        return fate::stays;
    }
    if (params.pgs && rooms_.plan.output_types[0]) {
        clear_panel(site, 2);
        site.type = 0;
        site.top_panel = params.use_panel1_for_type0_imputation ? 1 : 0;
        ++n_to_type0_;
        return fate::stays;
    }
    return reduce_to_type3(site, 0);
}

hierarchy_pass::fate hierarchy_pass::settle_type3(snp& site) {
    if (!site.in_panel(0) && !site.in_panel(1)) {
        if (!rooms_.params.stage_two) return fate::stays;
        ++n_stage_one_;
        return fate::erased;
    }
    if (rooms_.params.panel0_given() && !site.in_panel(0)) return settle_without_panel0(site);
    if (!rooms_.params.panel1_given() || site.in_panel(1)) return fate::stays;
    return settle_without_panel1(site);
}

bool hierarchy_pass::is_listed(long position, const snp& site) {
    return include_snps_ == nullptr || include_snps_->contains(site.snp_id) || include_snps_->contains(site.rs_id) ||
           include_snps_->contains(std::to_string(position));
}

hierarchy_pass::fate hierarchy_pass::visit(long position, snp& site) {
    const bool listed = is_listed(position, site);  // asked for each site, so that the list knows which ones there are
    const auto wanted = [this](std::size_t type) { return rooms_.plan.output_types[type]; };
    if (site.type <= 1 && !wanted(site.type)) return fate::stays;
    if (site.type == 3 && settle_type3(site) == fate::erased) return fate::erased;
    if (site.type == 3 && !wanted(3)) return fate::erased;
    if (site.type >= 2) {
        const std::size_t kind = site.type - 2;
        if (!rooms_.params.store_input_probs[kind]) site.gtype_probs[2] = {};
        return fate::stays;
    }
    if (listed) return fate::stays;
    ++n_not_listed_;
    return fate::erased;
}

void hierarchy_pass::visit_all() {
    site_store& store = rooms_.sites.store;
    for (auto entry = store.begin(); entry != store.end();) {
        entry = visit(entry->first, entry->second) == fate::erased ? store.erase(entry) : std::next(entry);
    }
}

void hierarchy_pass::report() const {
    const auto detail = [this](const char* verb, std::size_t n, const char* what) {
        if (n > 0) rooms_.log.line(concat(" --", verb, " ", n, " ", what));
    };
    if (n_to_type0_ + n_to_type3_ + n_stage_one_ + n_panel1_only_ == 0) rooms_.log.line(" --no SNPs removed");
    detail("converted", n_to_type0_, "genotyped SNPs with ref panel data to type 0 (these will be imputed)");
    detail("converted", n_to_type3_,
           "genotyped SNPs with ref panel data to type 3 (these will not inform the imputation)");
    detail("removed", n_stage_one_, "type 3 SNPs to avoid conflicts with Stage 1 imputation output");
    detail("removed", n_panel1_only_, "SNPs with genotypes in Panel 1 but not Panel 0 or Panel 2");
    if (include_snps_ != nullptr) {
        rooms_.log.stage("-applying SNP inclusion list");
        detail("removed", n_not_listed_,
               "reference-panel-only SNPs (type 0 or type 1) that were not on the inclusion list");
    }
    detail(
        "found", n_donut_,
        "SNPs with data in Panel 0 and Panel 2 but not Panel 1; these will be used for inference, but the quality may "
        "diminish if there are too many of these SNPs");
}

}  // namespace

void close_reading(const input_rooms& rooms) {
    site_store& store = rooms.sites.store;
    if (store.empty()) {
        rooms.log.odd_input(empty_region_text(rooms));
        rooms.log.fatal(
            "There are no SNPs in the imputation interval, so there is nothing for ORVIDE2 to analyze; the program "
            "will quit now.",
            0);
    }
    if (rooms.params.fill_holes) prepare_holes(rooms.params, rooms.panels, store);
    const std::string& list = rooms.params.include_snps_file;
    id_set include_snps;
    if (is_given(list)) include_snps = read_snp_list(rooms.log, list, std::nullopt);
    rooms.log.stage("-removing SNPs that violate the hierarchical data requirements");
    hierarchy_pass pass(rooms, is_given(list) ? &include_snps : nullptr);
    pass.visit_all();
    pass.report();
    if (is_given(list))
        report_found(rooms.log, include_snps, "-include_snps", list, false, "; they were looked for in the region");
}
