#include "input/formats/variant_input.h"

#include <htslib/bgzf.h>
#include <htslib/kstring.h>
#include <sys/stat.h>

#include <algorithm>
#include <utility>

#include "io/run_log.h"
#include "io/text.h"
#include "model/parameters.h"

namespace {

std::string listed(const std::vector<std::string>& names) {
    constexpr std::size_t most = 30;
    std::string text;
    for (std::size_t i = 0; i < names.size() && i < most; ++i) text += (i > 0 ? ", " : "") + names[i];
    return names.size() > most ? text + ", ..." : text;
}

// A name that stands twice on the header's line of samples; the library gives no header for such a file.
std::string repeated_sample(const std::string& name) {
    const std::unique_ptr<BGZF, int (*)(BGZF*)> file(bgzf_open(name.c_str(), "r"), bgzf_close);
    if (!file) return {};
    kstring_t line = KS_INITIALIZE;
    std::string repeated;
    while (repeated.empty() && bgzf_getline(file.get(), '\n', &line) >= 0) {
        const std::string_view text(line.s, line.l);
        if (!text.starts_with("#CHROM")) continue;
        std::vector<std::string> fields;
        strsplit(std::string(text), '\t', fields);
        std::set<std::string> seen;
        for (std::size_t i = 9; i < fields.size() && repeated.empty(); ++i) {
            if (!seen.insert(fields[i]).second) repeated = fields[i];
        }
        break;
    }
    ks_free(&line);
    return repeated;
}

}  // namespace

variant_input::variant_input(run_log& log, const source_request& request, input_file&& file)
    : log_(log),
      name_(request.file),
      chromosome_(is_given(request.chromosome) ? request.chromosome : ""),
      lower_(std::max(request.lower, 1L)),
      upper_(request.upper),
      is_regular_(file.is_regular()) {
    hts_set_log_level(HTS_LOG_OFF);  // what the library has to say comes out as our own messages
    file_.reset(hts_hopen(file.release(), name_.c_str(), "r"));
    if (!file_) refuse_damaged();
    if (request.read_ahead) hts_set_threads(file_.get(), 1);
    check_end_mark();
    read_header();
    if (load_index()) {
        choose_indexed_contig();
    } else if (is_regular_) {
        log_.note(concat("note: [", name_,
                         "] is read from its beginning to the end of the region, since it has no index that can be "
                         "used; 'bcftools index' makes one of a BCF file or of a VCF file that bgzip has compressed"));
    }
}

void variant_input::read_header() {
    header_.reset(bcf_hdr_read(file_.get()));
    if (!header_) {
        const std::string repeated = is_regular_ ? repeated_sample(name_) : "";
        if (repeated.empty()) refuse_damaged();
        log_.fatal(concat("ERROR: The header of the file [", name_, "] names the sample ", repeated, " twice."));
    }
    one_contig_ = header_->n[BCF_DT_CTG] == 1;
    const int n = bcf_hdr_nsamples(header_.get());
    for (int i = 0; i < n; ++i) samples_.emplace_back(header_->samples[i]);
    if (samples_.empty()) {
        log_.fatal(concat("ERROR: The file [", name_, "] holds sites only; its header names no samples."));
    }
}

// A compressed file ends in a block of its own, by which one that was cut off between two blocks can be told.
void variant_input::check_end_mark() const {
    if (!is_regular_ || file_->format.compression != bgzf) return;
    if (bgzf_check_EOF(file_->fp.bgzf) == 0) {
        log_.fatal(concat("ERROR: The file [", name_,
                          "] is cut off: the mark of its end is missing. Copy or make it "
                          "again."));
    }
}

bool variant_input::index_is_current() const {
    struct stat file {};
    if (stat(name_.c_str(), &file) != 0) return false;
    for (const char* ending : index_endings) {
        struct stat index {};
        if (stat((name_ + ending).c_str(), &index) != 0) continue;
        const auto time_of = [](const struct stat& status) {
            return std::pair(status.st_mtim.tv_sec, status.st_mtim.tv_nsec);
        };
        if (time_of(index) >= time_of(file)) return true;
        log_.warn(concat("WARNING: The index [", name_, ending,
                         "] is older than its file and is not used. Make it "
                         "again."));
        log_.note(concat("note: the index [", name_, ending, "] is older than its file and is not used"));
        return false;
    }
    return false;
}

bool variant_input::load_index() {
    if (!is_regular_ || file_->format.compression != bgzf || !index_is_current()) return false;
    if (file_->format.format == bcf) {
        bcf_index_.reset(bcf_index_load3(name_.c_str(), nullptr, HTS_IDX_SILENT_FAIL));
        return bcf_index_ != nullptr;
    }
    vcf_index_.reset(tbx_index_load3(name_.c_str(), nullptr, HTS_IDX_SILENT_FAIL));
    return vcf_index_ != nullptr;
}

std::vector<std::string> variant_input::indexed_contigs() const {
    int n = 0;
    const std::unique_ptr<const char*[], void (*)(void*)> names(
        bcf_index_ ? bcf_index_seqnames(bcf_index_.get(), header_.get(), &n) : tbx_seqnames(vcf_index_.get(), &n),
        std::free);
    return {names.get(), names.get() + n};
}

hts_iterator variant_input::query(const std::string& contig) const {
    const auto query_index = [this](int id) {
        const hts_pos_t begin = lower_ - 1, end = std::max(upper_, 0L);
        return hts_iterator(bcf_index_ ? bcf_itr_queryi(bcf_index_.get(), id, begin, end)
                                       : tbx_itr_queryi(vcf_index_.get(), id, begin, end));
    };
    return query_index(bcf_index_ ? bcf_hdr_name2id(header_.get(), contig.c_str())
                                  : tbx_name2id(vcf_index_.get(), contig.c_str()));
}

bool variant_input::asks_for(const std::string& contig) const {
    return chromosome_.empty() || is_same_contig(contig, chromosome_);
}

// Tries each chromosome of the index for a record in the region.
void variant_input::choose_indexed_contig() {
    const std::vector<std::string> contigs = indexed_contigs();
    std::vector<std::string> found;
    const hts_record record(bcf_init());
    bool named = false;
    for (const std::string& contig : contigs) {
        if (!asks_for(contig)) continue;
        named = true;
        contig_ = contig;
        iterator_ = query(contig);
        if (next_indexed(record.get())) found.push_back(contig);
    }
    if (!chromosome_.empty() && !named) refuse_absent(contigs);
    if (found.size() > 1) refuse_several(found);
    contig_ = found.empty() ? std::string() : found.front();
    if (found.empty()) {
        iterator_.reset();
    } else {
        iterator_ = query(contig_);
    }
}

void variant_input::refuse_several(const std::vector<std::string>& contigs) const {
    log_.fatal(concat("ERROR: The file [", name_, "] has records in the region on several chromosomes: ",
                      listed(contigs), ". Choose one of them by -chr."));
}

void variant_input::refuse_further(const std::string& contig) {
    std::vector<std::string> found{contig_, contig};
    const hts_record record(bcf_init());
    std::string next_contig;
    long position = 0;
    while (take(record.get(), next_contig, position)) {
        if (position < lower_ || position > upper_) continue;
        if (std::find(found.begin(), found.end(), next_contig) == found.end()) found.push_back(next_contig);
    }
    refuse_several(found);
}

void variant_input::refuse_absent(const std::vector<std::string>& contigs) const {
    log_.fatal(concat("ERROR: The file [", name_, "] has no chromosome ", chromosome_, " (-chr)",
                      contigs.empty() ? std::string() : concat("; it has: ", listed(contigs)), "."));
}

void variant_input::refuse_damaged() const {
    log_.fatal(
        concat("ERROR: The file [", name_, "] is damaged or cut off",
               header_ ? concat(", after ", last_contig_.empty() ? "its header"
                                                                 : last_contig_ + ":" + std::to_string(last_position_))
                       : concat(", in its header", is_regular_ ? "" : ", or the header names a sample twice"),
               "."));
}

bool variant_input::next(bcf1_t* record) {
    const bool indexed = bcf_index_ != nullptr || vcf_index_ != nullptr;
    return indexed ? next_indexed(record) : next_in_file(record);
}

bool variant_input::next_indexed(bcf1_t* record) {
    while (iterator_) {
        const int result = bcf_index_ ? bcf_itr_next(file_.get(), iterator_.get(), record)
                                      : tbx_itr_next(file_.get(), vcf_index_.get(), iterator_.get(), &line_);
        if (result < -1) refuse_damaged();
        if (result < 0) return false;
        if (!bcf_index_) parse(record);
        const long position = record->pos + 1;
        last_contig_ = contig_;
        last_position_ = position;
        if (position < lower_ || position > upper_) continue;
        check_samples(record);
        return true;
    }
    return false;
}

void variant_input::check_samples(const bcf1_t* record) const {
    if (record->n_sample != samples_.size()) refuse_damaged();
}

bool variant_input::take(bcf1_t* record, std::string& contig, long& position) {
    if (file_->format.format == bcf) {
        const int result = bcf_read(file_.get(), header_.get(), record);
        if (result < -1) refuse_damaged();
        if (result < 0) return false;
        contig = bcf_hdr_id2name(header_.get(), record->rid);
        position = record->pos + 1;
        return true;
    }
    do {
        const int result = hts_getline(file_.get(), '\n', &line_);
        if (result < -1) refuse_damaged();
        if (result < 0) return false;
    } while (line_.l == 0);
    const std::string_view text(line_.s, line_.l);
    const std::size_t tab = std::min(text.find('\t'), text.size());
    const std::string_view rest = text.substr(std::min(tab + 1, text.size()));
    contig = text.substr(0, tab);
    if (!parse_long(rest.substr(0, rest.find('\t')), position)) {
        fail(nullptr, concat("The position '", rest.substr(0, rest.find('\t')), "' is not a number"));
    }
    return true;
}

void variant_input::parse(bcf1_t* record) {
    // The library passes over what stands behind the last sample.
    const auto n_columns = 1 + static_cast<std::size_t>(std::count(line_.s, line_.s + line_.l, '\t'));
    const std::size_t n_wanted = 9 + samples_.size();
    if (n_columns != n_wanted) {
        fail(nullptr, concat("There are ", n_columns, " columns in place of ", n_wanted));
    }
    if (vcf_parse(&line_, header_.get(), record) != 0 ||
        (record->errcode & ~(BCF_ERR_CTG_UNDEF | BCF_ERR_TAG_UNDEF)) != 0) {
        fail(nullptr, "The record cannot be read");
    }
}

bool variant_input::next_in_file(bcf1_t* record) {
    // A chromosome that was named, or is the only one, is not looked for behind its region.
    const bool one_contig = !chromosome_.empty() || one_contig_;
    std::string contig;
    long position = 0;
    while (!(behind_region_ && one_contig) && take(record, contig, position)) {
        ++n_records_;
        check_order(contig, position);
        if (!is_wanted(contig, position)) continue;
        if (file_->format.format != bcf) parse(record);
        check_samples(record);
        return true;
    }
    if (!behind_region_ && file_->format.compression == bgzf && file_->fp.bgzf->no_eof_block != 0) refuse_damaged();
    const bool absent = !chromosome_.empty() &&
                        std::none_of(seen_.begin(), seen_.end(),
                                     [this](const std::string& name) { return is_same_contig(name, chromosome_); });
    if (absent) refuse_absent({seen_.begin(), seen_.end()});
    return false;
}

void variant_input::check_order(const std::string& contig, long position) {
    if (contig != last_contig_) {
        if (!seen_.insert(contig).second)
            fail(nullptr, concat("The records of chromosome ", contig, " are not together"));
    } else if (position < last_position_ && !behind_region_) {
        fail(nullptr, concat("The position ", position, " is below the one before, ", last_position_,
                             "; the file must be sorted"));
    }
    last_contig_ = contig;
    last_position_ = position;
}

bool variant_input::is_wanted(const std::string& contig, long position) {
    if (!asks_for(contig)) {
        behind_region_ = behind_region_ || !contig_.empty();
        return false;
    }
    if (position > upper_ && (contig == contig_ || !chromosome_.empty())) behind_region_ = true;
    if (position < lower_ || position > upper_) return false;
    if (contig != contig_ && !contig_.empty()) refuse_further(contig);
    contig_ = contig;
    return true;
}

contig_info variant_input::contig() const {
    contig_info info;
    info.name = contig_;
    const int id = contig_.empty() ? -1 : bcf_hdr_name2id(header_.get(), contig_.c_str());
    if (id >= 0) info.length = static_cast<long>(header_->id[BCF_DT_CTG][id].val->info[0]);
    return info;
}

std::string variant_input::place(const bcf1_t* record) const {
    if (record != nullptr) {
        return concat("the record ", bcf_hdr_id2name(header_.get(), record->rid), ":", record->pos + 1);
    }
    const std::string number = n_records_ > 0 ? std::to_string(n_records_) : std::string("behind");
    return concat("record ", number, " (", last_contig_, ":", last_position_, ")");
}

void variant_input::fail(const bcf1_t* record, std::string_view what) const {
    log_.fatal(concat("ERROR: ", what, ", in ", place(record), " of the file [", name_, "]."));
}

void variant_input::odd(const bcf1_t* record, std::string_view what, std::string_view taken) const {
    log_.odd_input(concat(what, ", in ", place(record), " of the file [", name_, "]: ", taken, "."));
}

void variant_input::note(const bcf1_t* record, std::string_view what) const {
    log_.note(concat("note: [", name_, "], ", place(record), ": ", what));
}
