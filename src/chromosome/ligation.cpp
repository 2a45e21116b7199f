#include "chromosome/ligation.h"

#include <htslib/vcf.h>

#include <algorithm>
#include <deque>
#include <memory>

#include "chromosome/overlap_phase.h"
#include "chromosome/phased_file.h"
#include "io/run_log.h"
#include "io/text.h"

namespace {

long position_of(const hts_record& record) {
    return static_cast<long>(record->pos) + 1;
}

class joiner {
  public:
    joiner(run_log& log, const std::string& first, const std::string& output, const ligation_options& options)
        : log_(log), options_(options), current_(std::make_unique<phased_file>(log, first)) {
        samples_ = current_->samples();
        header_.reset(bcf_hdr_dup(current_->header()));
        output_ = std::make_unique<variant_result_file>(log, workers_, output, options.format, header_.get());
        turned_.assign(samples_.size(), false);
        head_ = must_begin(*current_);
        contig_ = bcf_hdr_id2name(current_->header(), head_->rid);
    }

    // Writes the current file up to its overlap with the next one, which becomes the current one.
    seam join(const std::string& name) {
        auto next = std::make_unique<phased_file>(log_, name);
        check_people(*next);
        hts_record first = must_begin(*next);
        check_start(*next, first);
        const long begin = position_of(first);
        while (head_ && position_of(head_) < begin) advance();
        seam result{current_->name(), name};
        if (!head_) check_gap(*next);
        std::deque<hts_record> before = rest_of_current();
        std::deque<hts_record> after = overlap_of(*next, std::move(first), before);
        settle(result, *next, before, after);
        current_ = std::move(next);
        return result;
    }

    void finish() {
        while (head_) advance();
        output_->close();
    }

  private:
    hts_record must_begin(phased_file& file) {
        hts_record record = file.next();
        if (!record) log_.fatal(concat("ERROR: The file [", file.name(), "] has no site."));
        return record;
    }

    void check_people(const phased_file& next) {
        if (next.samples() == samples_) return;
        log_.fatal(concat("ERROR: The files [", current_->name(), "] and [", next.name(),
                          "] do not have the same samples in the same order."));
    }

    void check_start(const phased_file& next, const hts_record& first) {
        const std::string contig = bcf_hdr_id2name(next.header(), first->rid);
        if (contig != contig_) {
            log_.fatal(concat("ERROR: The files [", current_->name(), "] and [", next.name(),
                              "] are of different chromosomes (", contig_, ", ", contig, ")."));
        }
        if (position_of(first) <= last_written_) {
            log_.fatal(concat("ERROR: The file [", next.name(), "] begins at ", position_of(first),
                              ", before the middle of an earlier overlap; give the files in order, and only neighbours "
                              "may overlap."));
        }
    }

    void check_gap(const phased_file& next) {
        if (options_.allow_gaps) return;
        log_.fatal(concat("ERROR: The files [", current_->name(), "] and [", next.name(),
                          "] do not overlap, so that nothing tells the phase across them; is a file missing? "
                          "-allow_gaps joins them all the same."));
    }

    void write(phased_file& file, hts_record& record, const std::vector<bool>& turned) {
        if (std::ranges::find(turned, true) != turned.end()) turn_haplotypes(file.header(), record.get(), turned);
        if (bcf_translate(header_.get(), file.header(), record.get()) != 0) {
            log_.fatal(concat("ERROR: A record of [", file.name(), "] at ", position_of(record),
                              " has a field that the first file does not declare."));
        }
        last_written_ = position_of(record);
        output_->write_record(record.get());
    }

    void advance() {
        write(*current_, head_, turned_);
        head_ = current_->next();
    }

    std::deque<hts_record> rest_of_current() {
        std::deque<hts_record> rest;
        for (; head_; head_ = current_->next()) rest.push_back(std::move(head_));
        return rest;
    }

    // The records of the next file up to the end of the current one; the one behind becomes the head.
    std::deque<hts_record> overlap_of(phased_file& next, hts_record first, const std::deque<hts_record>& before) {
        std::deque<hts_record> overlap;
        head_ = std::move(first);
        while (head_ && !before.empty() && position_of(head_) <= position_of(before.back())) {
            overlap.push_back(std::move(head_));
            head_ = next.next();
        }
        return overlap;
    }

    void check_sites(const phased_file& next, const std::deque<hts_record>& before,
                     const std::deque<hts_record>& after) {
        const auto site = [](const hts_record& record) {
            return concat(position_of(record), " ", alleles_of(record.get()));
        };
        for (std::size_t i = 0; i < std::max(before.size(), after.size()); ++i) {
            if (i < before.size() && i < after.size() && site(before[i]) == site(after[i])) continue;
            const bool in_before =
                i >= after.size() || (i < before.size() && position_of(before[i]) <= position_of(after[i]));
            log_.fatal(concat("ERROR: In the overlap of [", current_->name(), "] and [", next.name(), "] the site ",
                              contig_, ":", site(in_before ? before[i] : after[i]),
                              " is not at the same place in both."));
        }
    }

    // Finds who is turned where, and writes both halves of the overlap.
    void settle(seam& result, phased_file& next, std::deque<hts_record>& before, std::deque<hts_record>& after) {
        check_sites(next, before, after);
        result.n_sites = before.size();
        if (!before.empty()) {
            result.lower = position_of(before.front());
            result.upper = position_of(before.back());
        }
        const long middle = result.lower + (result.upper - result.lower) / 2;
        overlap_phase phase(samples_.size());
        for (std::size_t i = 0; i < before.size(); ++i) {
            phase.add(genotypes_of(current_->header(), before[i].get()), genotypes_of(next.header(), after[i].get()),
                      position_of(before[i]) > middle);
        }
        phase.settle();
        for (std::size_t i = 0; i < before.size(); ++i) {
            const bool is_behind = position_of(before[i]) > middle;
            phased_file& file = is_behind ? next : *current_;
            hts_record& record = is_behind ? after[i] : before[i];
            set_confidences(file.header(), record.get(), phase.confidences(i));
            write(file, record, combined(is_behind ? phase.turned_after(i) : phase.turned_before(i)));
        }
        count(result, phase);
    }

    // Relative to the first file, who is turned relative to the current one.
    std::vector<bool> combined(const std::vector<bool>& turned) const {
        std::vector<bool> sum(turned_.size());
        for (std::size_t i = 0; i < sum.size(); ++i) sum[i] = turned_[i] != turned[i];
        return sum;
    }

    void count(seam& result, const overlap_phase& phase) {
        result.n_counted = phase.n_counted();
        result.n_agreeing = phase.n_agreeing();
        for (std::size_t i = 0; i < turned_.size(); ++i) {
            if (phase.is_turned(i)) turned_[i] = !turned_[i];
            if (phase.is_turned(i)) ++result.n_turned;
            if (phase.is_undecided(i)) ++result.n_undecided;
        }
    }

    run_log& log_;
    const ligation_options& options_;
    std::unique_ptr<phased_file> current_;
    std::vector<std::string> samples_;
    std::string contig_;
    hts_header header_;
    worker_pool workers_;  // the caller alone
    std::unique_ptr<variant_result_file> output_;
    std::vector<bool> turned_;  // people of the current file, relative to the first one
    hts_record head_;           // of the current file, not written yet
    long last_written_ = 0;
};

}  // namespace

void ligate(run_log& log, const std::vector<std::string>& inputs, const std::string& output,
            const ligation_options& options, const std::function<void(const seam&)>& tell) {
    joiner chunks(log, inputs.front(), output, options);
    for (std::size_t i = 1; i < inputs.size(); ++i) tell(chunks.join(inputs[i]));
    chunks.finish();
}
