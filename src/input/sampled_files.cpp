#include "input/sampled_files.h"

#include "input/announce.h"
#include "input/panel_options.h"
#include "io/text.h"

std::string sampled_option(std::size_t panel) {
    return concat("-hap_samp_in_", options_of_panel(panel).suffix);
}

std::string sampled_stage_text(std::size_t panel) {
    return concat("-reading sampled haplotypes for Panel ", panel, " from ", sampled_option(panel), " file");
}

source_request request_sampled(const parameters& params, std::size_t panel, std::size_t iteration) {
    source_request request;
    request.file = concat(params.*options_of_panel(panel).sampled_haplotypes, "_hapsamp", iteration);
    if (!file_exists(request.file)) request.file += ".gz";
    request.words = concat("Panel ", panel, " hapsamp file");
    request.missing_text = missing_text(sampled_option(panel));
    return request;
}
