#pragma once

// Sampled haplotypes as text: a line a site, one string of all haplotypes behind the site's five fields.

#include "input/formats/site_line.h"

class hapsamp_file final : public site_line_file<sampled_source> {
  public:
    using site_line_file::site_line_file;
    std::string_view first_characters() override;
    std::string_view read_characters() override { return take_characters(content()); }

  private:
    std::string_view take_characters(std::string_view content) const;
};
