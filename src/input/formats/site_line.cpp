#include "input/formats/site_line.h"

#include "io/text.h"

site_fields take_site(const text_input& file, std::string_view line, bool with_snp_id, std::string_view& rest) {
    field_scanner fields(line);
    site_fields site;
    site.snp_id = "---";
    std::string_view position;
    if (with_snp_id) fields.next(site.snp_id);
    fields.next(site.rs_id);
    if (!fields.next(position)) file.fail("There are fewer fields than a SNP needs");
    if (!parse_long(position, site.position)) file.fail(concat("The position '", position, "' is not a number"));
    fields.next(site.a0);
    fields.next(site.a1);
    rest = fields.rest();
    return site;
}

bool next_site_behind(text_input& file, bool with_snp_id, site_fields& site) {
    file.forgive_damage();
    std::string_view line, position;
    site = {};
    while (file.next_filled_line(line)) {
        field_scanner fields(line);
        if (with_snp_id) fields.next(site.snp_id);
        fields.next(site.rs_id);
        fields.next(position);
        if (parse_long(position, site.position)) return true;
    }
    return false;
}

std::size_t count_content_fields(std::string_view line) {
    field_scanner fields(line);
    return fields.skip(5) ? static_cast<std::size_t>(count_fields(fields.rest())) : 0;
}
