#include "run/imputation_jobs.h"

#include <utility>

#include "model/data.h"

imputation_jobs::imputation_jobs(data& run, const inference_inputs& in)
    : run_(run), in_(in), work_(run.workers.size()), jobs_(run.workers) {}

void imputation_jobs::add(imputation_job job, std::size_t most) {
    while (jobs_.size() > 0 && jobs_.size() >= most) jobs_.take_first();
    if (run_.panels[2].update[job.member.ind]) keep_alleles(job);
    const auto shared = std::make_shared<const imputation_job>(std::move(job));
    jobs_.add([this, shared](std::size_t worker) {
        std::unique_ptr<workspace>& work = work_[worker];
        if (!work) work = std::make_unique<workspace>(run_.sites.size());
        impute(*shared, *work);
    });
}

void imputation_jobs::keep_alleles(imputation_job& job) const {
    const packed_haplotypes& haps = run_.panels[2].haps;
    for (std::size_t strand = 0; strand < (job.member.diploid ? 2 : 1); ++strand) {
        const std::uint64_t* row = haps.row(job.member.hap + strand);
        job.alleles[strand].assign(row, row + haps.row_words());
        job.member.alleles[strand] = job.alleles[strand].data();
    }
    for (haploid_update& update : job.updates) update.alleles = job.member.alleles[update.strand];
}

void imputation_jobs::impute(const imputation_job& job, workspace& work) {
    work.imputed.log10_likelihood = {};
    for (std::size_t i = 0; i < job.updates.size(); ++i) {
        update_haploid(in_, job.updates[i], job.states[i], work.sweeps, work.result);
        record_alleles(in_, job.updates[i], work.result, work.imputed);
    }
    if (!job.recorded) return;
    record_imputed_individual(run_.log, in_, job.member, job.stored_count, job.selfcheck, work.imputed, run_.acc);
}
