#include "inference/haploid_classes.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "inference/haploid.h"
#include "inference/haploid_anchors.h"
#include "inference/kernels/kernels.h"

namespace {

// Beyond this a forward and a backward factor are no longer sure to have a finite product.
constexpr double largest_factor = 1e100;

// Sums of the states' values by class, padded with zeros. Four sums side by side: one addition need not wait for the
// one before.
template <typename Value>
void add_by_class(std::size_t n_states, const std::uint16_t* of_state, std::size_t stride, const Value& value,
                  aligned_buffer& scratch, double* sums) {
    ensure_size(scratch, 4 * stride);
    double* part = scratch.data();
    std::fill_n(part, 4 * stride, 0.0);
    std::size_t k = 0;
    for (; k + 4 <= n_states; k += 4) {
        part[of_state[k]] += value(k);
        part[stride + of_state[k + 1]] += value(k + 1);
        part[2 * stride + of_state[k + 2]] += value(k + 2);
        part[3 * stride + of_state[k + 3]] += value(k + 3);
    }
    for (; k < n_states; ++k) part[of_state[k]] += value(k);
    for (std::size_t c = 0; c < stride; ++c) {
        sums[c] = (part[c] + part[stride + c]) + (part[2 * stride + c] + part[3 * stride + c]);
    }
}

// What both sweeps do with a block.
class class_block {
  public:
    class_block(const haploid_problem& problem, haploid_tables& tables, haploid_class_tables& by_class, std::size_t b,
                std::size_t first)
        : p_(problem), t_(tables), c_(by_class), here_(by_class.blocks[b]), first_(first) {
        n_ = here_.n_classes;
        stride_ = kernels::padded(n_);
        of_state_ = c_.of_state.data() + b * p_.n_states;
        for (aligned_buffer* buffer : {&c_.left_sums, &c_.right_sums, &c_.products}) ensure_size(*buffer, stride_);
        size_ = c_.size.data() + here_.sizes;
        left_ = c_.vectors.data() + b * kernels::padded(p_.n_states);
    }

    std::size_t n_classes() const { return n_; }
    std::size_t anchor() const { return here_.anchor; }
    const std::uint64_t* bits(std::size_t v) const {
        return c_.alleles.data() + here_.alleles + (v - first_) * bits::words_for(n_);
    }
    const double* left() const { return left_; }
    kernels::class_sums left_sums() const { return {size_, c_.left_sums.data()}; }
    kernels::class_sums right_sums() const { return {size_, c_.right_sums.data()}; }

    void sum_left() {
        sum([this](std::size_t k) { return left_[k]; }, c_.left_sums);
    }
    void sum_both(const double* right) {
        sum_left();
        sum([right](std::size_t k) { return right[k]; }, c_.right_sums);
        sum([this, right](std::size_t k) { return left_[k] * right[k]; }, c_.products);
    }

    // The image of the values as they are.
    kernels::class_image unchanged(double* place) const {
        std::fill_n(place, stride_, 1.0);
        std::fill_n(place + stride_, stride_, 0.0);
        return {place, place + stride_};
    }
    // Image of the forward values at anchor i, which is in the block, or at the border.
    kernels::class_image image(std::size_t i) const {
        double* place = c_.images.data() + (i - here_.anchor) * 2 * stride_;
        return {place, place + stride_};
    }
    void make_room(std::size_t n_anchors) { ensure_size(c_.images, (n_anchors + 1) * 2 * stride_); }

    // Fills the image of anchor i from that of the one before, without scaling. Returns the sum.
    double enter(std::size_t i) {
        const haploid_tables::anchor& anchor = t_.anchors[i];
        const std::uint8_t seen = p_.observed[anchor.site];
        return kernels::active().enter_by_class(n_, left_sums(), image(i - 1), anchor.alpha,
                                                anchor.mu * t_.anchors[i - 1].sum, bits(anchor.site),
                                                p_.emission[0][seen], p_.emission[1][seen], image(i));
    }
    // Returns whether all factors stay in reach.
    bool divide(const kernels::class_image& image, double divisor) const {
        kernels::active().divide(n_, divisor, image.factor);
        kernels::active().divide(n_, divisor, image.arrived);
        return *std::max_element(image.factor, image.factor + n_) < largest_factor;
    }

    // The values of all states behind an image.
    void write(const kernels::class_image& image, const double* from, double* to) const {
        for (std::size_t k = 0; k < p_.n_states; ++k) {
            to[k] = image.factor[of_state_[k]] * from[k] + image.arrived[of_state_[k]];
        }
    }

  private:
    template <typename Value>
    void sum(const Value& value, aligned_buffer& sums) {
        add_by_class(p_.n_states, of_state_, stride_, value, c_.scratch, sums.data());
    }

    const haploid_problem& p_;
    haploid_tables& t_;
    haploid_class_tables& c_;
    const haploid_class_tables::block& here_;
    const std::size_t first_;
    std::size_t n_ = 0, stride_ = 0;
    const std::uint16_t* of_state_ = nullptr;
    const double* size_ = nullptr;
    double* left_ = nullptr;
};

// Lists the classes among the states in a block of the panel.
void list_states(const haploid_problem& p, const haplotype_classes& classes, std::size_t b, const int* hap,
                 haploid_class_tables& c) {
    constexpr std::uint16_t none = 0xffff;
    const std::size_t n_of_panel = classes.blocks()[b].n_classes;
    const std::uint16_t* class_of = classes.class_of(b);
    std::uint16_t* of_state = c.of_state.data() + b * p.n_states;
    c.local.assign(n_of_panel, none);
    c.met.resize(n_of_panel);
    std::uint16_t* local = c.local.data();
    std::uint16_t* met = c.met.data();
    std::size_t n_met = 0;
    for (std::size_t k = 0; k < p.n_states; ++k) {
        const std::uint16_t of_panel = class_of[hap[k]];
        if (local[of_panel] == none) {
            met[n_met] = of_panel;
            local[of_panel] = static_cast<std::uint16_t>(n_met++);
        }
        of_state[k] = local[of_panel];
    }
    c.met.resize(n_met);
    c.blocks[b].n_classes = n_met;
    c.blocks[b].sizes = c.n_sizes;
    c.n_sizes += kernels::padded(n_met);
    ensure_size(c.size, c.n_sizes);
    add_by_class(
        p.n_states, of_state, kernels::padded(n_met), [](std::size_t /*k*/) { return 1.0; }, c.scratch,
        &c.size[c.blocks[b].sizes]);
}

// Lists the alleles of the classes that were met, site by site.
void list_alleles(const haplotype_classes& classes, std::size_t b, haploid_class_tables& c) {
    const haplotype_classes::block& of_panel = classes.blocks()[b];
    const std::size_t n_sites = of_panel.end - of_panel.first, words = bits::words_for(c.met.size());
    c.blocks[b].alleles = c.alleles.size();
    c.alleles.resize(c.alleles.size() + n_sites * words);
    alignas(64) std::array<std::uint64_t, bits::word_bits> square{};
    for (std::size_t first = 0; first < n_sites; first += bits::word_bits) {
        std::uint64_t* out = &c.alleles[c.blocks[b].alleles + first * words];
        for (std::size_t w = 0; w < words; ++w) {
            const std::size_t first_class = w * bits::word_bits;
            const std::size_t n = std::min(bits::word_bits, c.met.size() - first_class);
            for (std::size_t i = 0; i < bits::word_bits; ++i) {
                square[i] = i < n ? classes.alleles(of_panel, c.met[first_class + i])[first / bits::word_bits] : 0;
            }
            kernels::active().transpose(square.data(), square.data());
            for (std::size_t j = 0; j < std::min(bits::word_bits, n_sites - first); ++j) out[j * words + w] = square[j];
        }
    }
}

class forward_by_class {
  public:
    forward_by_class(const haploid_problem& problem, haploid_tables& tables, haploid_class_tables& by_class)
        : p_(problem), t_(tables), c_(by_class) {}

    bool run(const haplotype_classes& classes, const int* hap) {
        const std::size_t n_blocks = classes.blocks().size();
        c_.blocks.assign(n_blocks, {});
        c_.of_state.resize(n_blocks * p_.n_states);
        c_.alleles.clear();
        c_.n_sizes = 0;
        ensure_size(c_.vectors, n_blocks * kernels::padded(p_.n_states));
        std::fill_n(c_.vectors.begin(), p_.n_states, 1.0);
        for (std::size_t b = 0; b < n_blocks; ++b) {
            c_.blocks[b].anchor = last_anchor_;
            list_states(p_, classes, b, hap, c_);
            list_alleles(classes, b, c_);
            class_block block(p_, t_, c_, b, classes.blocks()[b].first);
            if (!pass_block(block, classes.blocks()[b].end)) return false;
            if (b + 1 < n_blocks) {
                double* next = c_.vectors.data() + (b + 1) * kernels::padded(p_.n_states);
                block.write(block.image(last_anchor_), block.left(), next);
            }
        }
        return true;
    }

    double log10_likelihood() const {
        const double sum = t_.anchors.back().sum * t_.anchors.back().growth;
        return std::abs(sum - 1.0) > 1e-10 ? log10_likelihood_ + std::log10(sum) : log10_likelihood_;
    }

  private:
    bool pass_block(class_block& block, std::size_t end_site) {
        block.sum_left();
        std::size_t end = last_anchor_ + 1;
        while (end < t_.anchors.size() && t_.anchors[end].site < end_site) ++end;
        block.make_room(end - last_anchor_ - 1);
        block.unchanged(block.image(last_anchor_).factor);
        while (last_anchor_ + 1 < end) {
            if (!fill_anchor(block, ++last_anchor_)) return false;
        }
        return true;
    }

    bool fill_anchor(class_block& block, std::size_t i) {
        haploid_tables::anchor& anchor = t_.anchors[i];
        anchor.sum = block.enter(i);
        anchor.scale = 1.0;
        if (anchor.site != 0 && !(anchor.sum >= rescale_below)) {
            anchor.scale = anchor.sum;
            anchor.sum = 1.0;
            if (!(anchor.scale > 0.0 && block.divide(block.image(i), anchor.scale))) return false;
            log10_likelihood_ += std::log10(anchor.scale);
        }
        return anchor.sum * anchor.least_growth >= rescale_below;
    }

    const haploid_problem& p_;
    haploid_tables& t_;
    haploid_class_tables& c_;
    std::size_t last_anchor_ = 0;
    double log10_likelihood_ = 0.0;
};

// The walk from right to left through the blocks.
class posterior_walk {
  public:
    posterior_walk(const haploid_problem& problem, haploid_tables& tables, haploid_class_tables& by_class,
                   const std::vector<haploid_request>& requests, haploid_results& results)
        : p_(problem), t_(tables), c_(by_class), requests_(requests), r_(results) {}

    bool run(const haplotype_classes& classes) {
        look_right(p_, t_);
        ensure_size(c_.right, kernels::padded(p_.n_states));
        std::fill_n(c_.right.begin(), p_.n_states, 1.0);
        right_sum_ = static_cast<double>(p_.n_states);
        end_anchor_ = t_.anchors.size();
        for (std::size_t b = classes.blocks().size(); b-- > 0;) {
            if (!pass_block(classes.blocks()[b], b)) return false;
        }
        return true;
    }

  private:
    bool pass_block(const haplotype_classes::block& of_panel, std::size_t b) {
        class_block block(p_, t_, c_, b, of_panel.first);
        block.sum_both(c_.right.data());
        const std::size_t n_anchors = end_anchor_ - block.anchor() - 1;
        block.make_room(n_anchors);
        block.unchanged(block.image(block.anchor()).factor);
        for (std::size_t i = block.anchor() + 1; i < end_anchor_; ++i) {
            block.enter(i);
            if (t_.anchors[i].scale != 1.0) block.divide(block.image(i), t_.anchors[i].scale);
        }
        ensure_size(c_.right_image, 2 * kernels::padded(block.n_classes()));
        const kernels::class_image right = block.unchanged(c_.right_image.data());
        std::size_t end = of_panel.end;
        for (std::size_t i = end_anchor_; i-- > block.anchor();) {
            const bool at_border = i == block.anchor();
            report(block, right, i, at_border ? of_panel.first : t_.anchors[i].site, end);
            if (at_border) break;
            end = t_.anchors[i].site;
            if (!emit(block, right, i)) return false;
        }
        if (n_anchors > 0) block.write(right, c_.right.data(), c_.right.data());
        end_anchor_ = block.anchor() + 1;
        return true;
    }

    // Posterior weights at the sites from first to before end, of anchor i.
    void report(const class_block& block, const kernels::class_image& right, std::size_t i, std::size_t first,
                std::size_t end) {
        while (first < end && !requests_[end - 1].posterior) --end;
        while (first < end && !requests_[first].posterior) ++first;
        if (first == end) return;
        list_state_weights(t_, i, right_sum_, first, end);
        const std::size_t n_observed = i > 0 && t_.anchors[i].site == first ? 1 : 0;
        static_assert(sizeof(allele_weights) == sizeof(double[2]));
        kernels::active().weigh_by_class(block.n_classes(), block.left_sums(), block.image(i), block.right_sums(),
                                         right, c_.products.data(), end - first, n_observed, block.bits(first),
                                         t_.state_weights.data(), c_.scratch.data(),
                                         reinterpret_cast<double(*)[2]>(&r_.weights[first]));
    }

    bool emit(class_block& block, const kernels::class_image& right, std::size_t i) {
        const std::size_t v = t_.anchors[i].site;
        const std::uint8_t seen = p_.observed[v];
        right_sum_ = kernels::active().enter_by_class(block.n_classes(), block.right_sums(), right, t_.right_alpha[v],
                                                      t_.right_mu[v] * right_sum_, block.bits(v), p_.emission[0][seen],
                                                      p_.emission[1][seen], right);
        if (right_sum_ >= rescale_below) return true;
        const double divisor = right_sum_;
        right_sum_ = 1.0;
        return divisor > 0.0 && block.divide(right, divisor);
    }

    const haploid_problem& p_;
    haploid_tables& t_;
    haploid_class_tables& c_;
    const std::vector<haploid_request>& requests_;
    haploid_results& r_;
    std::size_t end_anchor_ = 0;  // the first one right of the block in hand
    double right_sum_ = 0.0;
};

}  // namespace

bool haploid_forward_by_classes(const haploid_problem& problem, const haplotype_classes& classes, const int* hap,
                                haploid_tables& tables, haploid_class_tables& by_class, double& log10_likelihood) {
    if (problem.n_states == 0 || problem.n_sites == 0 || !lay_out_anchors(problem, tables)) return false;
    forward_by_class forward(problem, tables, by_class);
    if (!forward.run(classes, hap)) return false;
    log10_likelihood = forward.log10_likelihood();
    return true;
}

bool haploid_posteriors_by_classes(const haploid_problem& problem, const haplotype_classes& classes,
                                   haploid_tables& tables, haploid_class_tables& by_class,
                                   const std::vector<haploid_request>& requests, haploid_results& results) {
    results.weights.resize(problem.n_sites);
    return posterior_walk(problem, tables, by_class, requests, results).run(classes);
}
