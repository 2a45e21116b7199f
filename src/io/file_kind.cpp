#include "io/file_kind.h"

#include <htslib/hfile.h>
#include <zlib.h>

#include <algorithm>
#include <array>

#include "io/text.h"

namespace {

using namespace std::string_view_literals;

constexpr std::string_view gzip_mark = "\x1f\x8b";
constexpr char any_byte = '?';

struct magic_number {
    std::size_t offset;
    std::string_view bytes;
    std::string_view name, advice;
};

constexpr std::string_view to_vcf = "Please convert it to VCF or BCF, which -h, -g and the options beside them read.";
constexpr std::string_view alignments = "It holds reads, of which genotypes have to be called first.";

// The first one that fits counts.
constexpr std::array magic_numbers{
    magic_number{0, "##fileformat=VCF"sv, "a VCF file",
                 "VCF is read by -h, -g, -g_ref, -known_haps_g and -hap_init_g."},
    magic_number{0, "BCF\x02"sv, "a BCF file", "BCF is read by -h, -g, -g_ref, -known_haps_g and -hap_init_g."},
    magic_number{0, "\x6c\x1b\x00"sv, "a PLINK .bed file", to_vcf},
    magic_number{0, "\x6c\x1b\x01"sv, "a PLINK .bed file", to_vcf},
    magic_number{0, "\x6c\x1b"sv, "a PLINK2 .pgen file", to_vcf},
    magic_number{16, "bgen"sv, "a BGEN file", to_vcf},
    magic_number{0, "BAM\x01"sv, "a BAM file", alignments},
    magic_number{0, "CRAM\x02"sv, "a CRAM file", alignments},
    magic_number{0, "CRAM\x03"sv, "a CRAM file", alignments},
    magic_number{0, "CSI\x01"sv, "an index (.csi)", "Please name the file that it belongs to."},
    magic_number{0, "TBI\x01"sv, "an index (.tbi)", "Please name the file that it belongs to."},
    magic_number{0, "\xfd\x37zXZ\x00"sv, "an xz file", "Please unpack it (xz -d)."},
    magic_number{0, "\x28\xb5\x2f\xfd"sv, "a zstd file", "Please unpack it (zstd -d)."},
    magic_number{0, "BZh?1AY&SY"sv, "a bzip2 file", "Please unpack it (bzip2 -d)."},
    magic_number{0, "PK\x03\x04"sv, "a zip file or a spreadsheet", "Please unpack it, or save it as text."},
    magic_number{0, "\xff\xfe"sv, "text in UTF-16", "Please save it as UTF-8."},
    magic_number{0, "\xfe\xff"sv, "text in UTF-16", "Please save it as UTF-8."},
    magic_number{0, gzip_mark, "compressed twice by gzip", "Please unpack it once (gunzip)."},
};

bool fits(const magic_number& row, std::string_view start) {
    if (start.size() < row.offset + row.bytes.size()) return false;
    return std::equal(row.bytes.begin(), row.bytes.end(), start.begin() + static_cast<std::ptrdiff_t>(row.offset),
                      [](char wanted, char found) { return wanted == any_byte || wanted == found; });
}

constexpr std::size_t n_looked_at = 1024;
constexpr std::size_t n_unpacked = 64;

// The first bytes behind the compression, as far as they can be told.
std::string unpacked(std::string& packed) {
    constexpr int gzip_window = 15 + 16;
    std::string bytes(n_unpacked, '\0');
    z_stream stream{};
    stream.next_in = reinterpret_cast<Bytef*>(packed.data());  // NOLINT
    stream.avail_in = static_cast<uInt>(packed.size());
    stream.next_out = reinterpret_cast<Bytef*>(bytes.data());  // NOLINT
    stream.avail_out = static_cast<uInt>(bytes.size());
    if (inflateInit2(&stream, gzip_window) != Z_OK) return {};
    inflate(&stream, Z_SYNC_FLUSH);
    bytes.resize(n_unpacked - stream.avail_out);
    inflateEnd(&stream);
    return bytes;
}

}  // namespace

file_kind kind_of(hFILE* stream) {
    std::string start(n_looked_at, '\0');
    const ssize_t n = hpeek(stream, start.data(), start.size());
    start.resize(n > 0 ? static_cast<std::size_t>(n) : 0);
    file_kind kind;
    kind.is_empty = n == 0;
    kind.is_gzipped = n > 0 && start.starts_with(gzip_mark.substr(0, start.size()));
    if (kind.is_gzipped) start = unpacked(start);
    const auto* const row = std::find_if(magic_numbers.begin(), magic_numbers.end(),
                                         [&start](const magic_number& magic) { return fits(magic, start); });
    if (row == magic_numbers.end()) return kind;
    kind.name = row->name;
    kind.advice = row->advice;
    return kind;
}

std::string why_not_text(const file_kind& kind, const std::string& name) {
    const std::string file = concat("ERROR: The file [", name, "] is ");
    if (!kind.name.empty()) return concat(file, kind.name, ", where text is read. ", kind.advice);
    if (!kind.is_gzipped && !kind.is_empty && is_gzipped(name)) {
        return file + "not compressed, but its name ends in .gz. Please rename it, or compress it.";
    }
    return {};
}

std::string odd_name_text(const file_kind& kind, const std::string& name, bool is_regular) {
    if (!kind.is_gzipped || is_gzipped(name)) return {};
    return concat(
        "The file [", name,
        "] is compressed by gzip, but its name does not end in .gz, by which such files are told; its bytes were "
        "taken for text. ",
        is_regular ? "Please rename it." : "Please unpack it on its way (gunzip -c).");
}
