#include "input/formats/variant_info.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "io/hts_objects.h"
#include "io/text.h"

namespace {

// A header line's number: how many values the field has.
int number_of(const bcf_hdr_t* header, int id) {
    return static_cast<int>(bcf_hdr_id2length(header, BCF_HL_INFO, id));
}

bool is_scalar(const bcf_hdr_t* header, int id) {
    const int number = number_of(header, id);
    const bool one = number == BCF_VL_FIXED && bcf_hdr_id2number(header, BCF_HL_INFO, id) <= 1;
    return one || number == BCF_VL_A || number == BCF_VL_R;
}

// What the library has allocated for a field's values.
template <typename Value>
struct value_buffer {
    Value* values = nullptr;
    int n = 0;
    value_buffer() = default;
    value_buffer(const value_buffer&) = delete;
    value_buffer& operator=(const value_buffer&) = delete;
    ~value_buffer() { std::free(values); }
};

// The place of the site's value among n of them: the only one, one for each ALT, or one for each allele.
int place_of(int number, int allele) {
    return number == BCF_VL_A ? allele - 1 : number == BCF_VL_R ? allele : 0;
}

std::string real_text(const bcf_hdr_t* header, bcf1_t* record, const char* name, int place) {
    value_buffer<float> buffer;
    const int n = bcf_get_info_float(header, record, name, &buffer.values, &buffer.n);
    if (place >= n || bcf_float_is_missing(buffer.values[place]) || bcf_float_is_vector_end(buffer.values[place])) {
        return ".";
    }
    return default_text(static_cast<double>(buffer.values[place]));
}

std::string integer_text(const bcf_hdr_t* header, bcf1_t* record, const char* name, int place) {
    value_buffer<std::int32_t> buffer;
    const int n = bcf_get_info_int32(header, record, name, &buffer.values, &buffer.n);
    if (place >= n || buffer.values[place] == bcf_int32_missing || buffer.values[place] == bcf_int32_vector_end) {
        return ".";
    }
    return std::to_string(buffer.values[place]);
}

// Texts of several alleles are one text with commas between.
std::string text_value(const bcf_hdr_t* header, bcf1_t* record, const char* name, int place, bool is_list) {
    value_buffer<char> buffer;
    const int n = bcf_get_info_string(header, record, name, &buffer.values, &buffer.n);
    if (n <= 0) return ".";
    std::string text(buffer.values);
    if (!is_list) return text;
    std::vector<std::string> pieces;
    strsplit(text, ',', pieces);
    return static_cast<std::size_t>(place) < pieces.size() ? pieces[static_cast<std::size_t>(place)] : ".";
}

std::string value_text(const bcf_hdr_t* header, bcf1_t* record, const std::string& name, int allele) {
    const int id = bcf_hdr_id2int(header, BCF_DT_ID, name.c_str());
    const int number = number_of(header, id);
    const int place = place_of(number, allele);
    const int type = static_cast<int>(bcf_hdr_id2type(header, BCF_HL_INFO, id));
    const bcf_info_t* const info = bcf_get_info(header, record, name.c_str());
    const bool is_number = type == BCF_HT_INT || type == BCF_HT_REAL;
    if (info != nullptr && is_number && !are_numbers(info->type)) return ".";
    switch (type) {
        case BCF_HT_FLAG:
            return bcf_get_info_flag(header, record, name.c_str(), nullptr, nullptr) == 1 ? "1" : "0";
        case BCF_HT_INT:
            return integer_text(header, record, name.c_str(), place);
        case BCF_HT_REAL:
            return real_text(header, record, name.c_str(), place);
        default:
            return text_value(header, record, name.c_str(), place, number != BCF_VL_FIXED);
    }
}

}  // namespace

variant_info::variant_info(const bcf_hdr_t* header) {
    for (int id = 0; id < header->n[BCF_DT_ID]; ++id) {
        if (header->id[BCF_DT_ID][id].val == nullptr) continue;  // BCF may leave numbers out
        if (bcf_hdr_idinfo_exists(header, BCF_HL_INFO, id) && is_scalar(header, id)) {
            names_.emplace_back(header->id[BCF_DT_ID][id].key);
        }
    }
}

std::vector<std::string> variant_info::values(const bcf_hdr_t* header, bcf1_t* record, int allele) const {
    std::vector<std::string> texts;
    texts.reserve(names_.size());
    for (const std::string& name : names_) texts.push_back(value_text(header, record, name, allele));
    return texts;
}
