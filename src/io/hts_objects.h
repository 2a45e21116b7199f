#pragma once

// Objects of htslib that end with their owner, and what has to be known of their values.

#include <htslib/hts.h>
#include <htslib/tbx.h>
#include <htslib/vcf.h>

#include <array>
#include <memory>

struct hts_object_end {
    void operator()(htsFile* file) const { hts_close(file); }
    void operator()(bcf_hdr_t* header) const { bcf_hdr_destroy(header); }
    void operator()(bcf1_t* record) const { bcf_destroy(record); }
    void operator()(hts_idx_t* index) const { hts_idx_destroy(index); }
    void operator()(tbx_t* index) const { tbx_destroy(index); }
    void operator()(hts_itr_t* iterator) const { hts_itr_destroy(iterator); }
};

// A field of the genotypes; null where the record has none of the name. The library searches in a header that it does
// not change.
inline const bcf_fmt_t* find_format(const bcf_hdr_t* header, bcf1_t* record, const char* name) {
    return bcf_get_fmt(const_cast<bcf_hdr_t*>(header), record, name);  // NOLINT
}

// Endings of the names of indexes.
constexpr std::array<const char*, 2> index_endings{".csi", ".tbi"};

// Whether the values of a field are numbers. The library ends the program when it is asked for the numbers of others.
inline bool are_numbers(int type) {
    return type == BCF_BT_INT8 || type == BCF_BT_INT16 || type == BCF_BT_INT32 || type == BCF_BT_FLOAT;
}

using hts_file = std::unique_ptr<htsFile, hts_object_end>;
using hts_header = std::unique_ptr<bcf_hdr_t, hts_object_end>;
using hts_record = std::unique_ptr<bcf1_t, hts_object_end>;
using hts_index = std::unique_ptr<hts_idx_t, hts_object_end>;
using tabix_index = std::unique_ptr<tbx_t, hts_object_end>;
using hts_iterator = std::unique_ptr<hts_itr_t, hts_object_end>;
