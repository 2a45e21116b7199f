#include "output/quality_figures.h"

#include "output_fixture.h"

namespace {

class quality_figures : public output_fixture {
  protected:
    std::string keys() {
        std::string text;
        for (const auto figures : {site_figures(), typed_figures()}) {
            for (const quality_figure& figure : figures) {
                if (figure.is_there(results)) text += std::string(figure.key) + "=" + figure.column + " ";
            }
        }
        return text;
    }
};

TEST_F(quality_figures, figures_of_typed_sites_are_there_where_the_run_compares) {
    EXPECT_EQ(keys(), "INFO=info CERT=certainty ");
    run.plan.selfcheck_iters = {1};
    run.params.pgs = true;
    EXPECT_EQ(keys(),
              "INFO=info CERT=certainty CONC2=concord_type2 R2_2=r2_type2 INFO1=info_type1 CONC1=concord_type1 "
              "R2_1=r2_type1 INFO0=info_type0 CONC0=concord_type0 R2_0=r2_type0 ");
    run.params.snp_qc_info = false;
    EXPECT_EQ(keys(), "INFO=info CERT=certainty ");
}

TEST_F(quality_figures, values_are_those_of_the_quality) {
    site_quality quality;
    quality.info = 0.1;
    quality.certainty = 0.2;
    quality.posterior = {0.3, 0.4};
    quality.masked = {accuracy{0.9, 1.0}, accuracy{0.6, 0.7}};
    quality.masked_info = {0.8, 0.5};
    std::vector<double> values;
    for (const auto figures : {site_figures(), typed_figures()}) {
        for (const quality_figure& figure : figures) values.push_back(*figure.value(quality));
    }
    EXPECT_EQ(values, (std::vector<double>{0.1, 0.2, 0.3, 0.4, 0.5, 0.6, 0.7, 0.8, 0.9, 1.0}));
}

}  // namespace
