#include "inference/haploid_classes.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "inference/haploid.h"
#include "inference/haploid_anchors.h"
#include "inference/kernels/kernels.h"

namespace {

// Beyond this a factor is no longer sure to stay finite.
constexpr double largest_factor = 1e200;

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

// Finds the classes among the states in a block of the panel, and their alleles.
void list_states(const haploid_problem& p, const haplotype_classes& classes, std::size_t b, const int* hap,
                 haploid_class_tables& c) {
    constexpr std::uint16_t none = 0xffff;
    const haplotype_classes::block& of_panel = classes.blocks()[b];
    const std::uint16_t* class_of = classes.class_of(b);
    std::uint16_t* of_state = c.of_state.data() + b * p.n_states;
    c.local.assign(of_panel.n_classes, none);
    c.met.resize(of_panel.n_classes);
    std::uint16_t* local = c.local.data();
    std::uint16_t* met = c.met.data();
    std::size_t n_met = 0;
    for (std::size_t k = 0; k < p.n_states; ++k) {
        const std::uint16_t of_panel_class = class_of[hap[k]];
        if (local[of_panel_class] == none) {
            met[n_met] = of_panel_class;
            local[of_panel_class] = static_cast<std::uint16_t>(n_met++);
        }
        of_state[k] = local[of_panel_class];
    }
    c.met.resize(n_met);
    c.blocks[b].n_classes = c.met.size();
    c.blocks[b].sizes = c.n_sizes;
    const std::size_t stride = kernels::padded(c.met.size());
    c.n_sizes += stride;
    ensure_size(c.size, c.n_sizes);
    add_by_class(
        p.n_states, of_state, stride, [](std::size_t /*k*/) { return 1.0; }, c.scratch, &c.size[c.blocks[b].sizes]);
    c.blocks[b].alleles = c.alleles.size();
    const std::size_t words = bits::words_for(c.met.size());
    c.alleles.resize(c.alleles.size() + (of_panel.end - of_panel.first) * words);
    alignas(64) std::array<std::uint64_t, bits::word_bits> square;
    for (std::size_t first = of_panel.first; first < of_panel.end; first += bits::word_bits) {
        const std::size_t n_sites = std::min(bits::word_bits, of_panel.end - first);
        std::uint64_t* out = &c.alleles[c.blocks[b].alleles + (first - of_panel.first) * words];
        for (std::size_t w = 0; w < words; ++w) {
            const std::size_t n = std::min(bits::word_bits, c.met.size() - w * bits::word_bits);
            square.fill(0);
            for (std::size_t i = 0; i < n; ++i) {
                square[i] = classes.alleles(of_panel,
                                            c.met[w * bits::word_bits + i])[(first - of_panel.first) / bits::word_bits];
            }
            kernels::active().transpose(square.data(), square.data());
            for (std::size_t j = 0; j < n_sites; ++j) out[j * words + w] = square[j];
        }
    }
}

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
    const std::size_t K = problem.n_states, n_blocks = classes.blocks().size();
    if (K == 0 || problem.n_sites == 0 || !lay_out_anchors(problem, tables)) return false;
    by_class.blocks.assign(n_blocks, {});
    by_class.of_state.resize(n_blocks * K);
    by_class.alleles.clear();
    by_class.n_sizes = 0;
    ensure_size(by_class.vectors, n_blocks * kernels::padded(K));
    std::fill_n(by_class.vectors.begin(), K, 1.0);
    log10_likelihood = 0.0;
    std::size_t i = 0;
    for (std::size_t b = 0; b < n_blocks; ++b) {
        by_class.blocks[b].anchor = i;
        list_states(problem, classes, b, hap, by_class);
        const haplotype_classes::block& of_panel = classes.blocks()[b];
        class_block block(problem, tables, by_class, b, of_panel.first);
        block.sum_left();
        std::size_t end = i + 1;
        while (end < tables.anchors.size() && tables.anchors[end].site < of_panel.end) ++end;
        block.make_room(end - i - 1);
        block.unchanged(block.image(i).factor);
        for (++i; i < end; ++i) {
            haploid_tables::anchor& anchor = tables.anchors[i];
            anchor.sum = block.enter(i);
            anchor.scale = 1.0;
            if (anchor.site != 0 && !(anchor.sum >= rescale_below)) {
                anchor.scale = anchor.sum;
                anchor.sum = 1.0;
                if (!(anchor.scale > 0.0 && block.divide(block.image(i), anchor.scale))) return false;
                log10_likelihood += std::log10(anchor.scale);
            }
            if (!(anchor.sum * anchor.least_growth >= rescale_below)) return false;
        }
        --i;
        if (b + 1 < n_blocks) {
            block.write(block.image(i), block.left(), by_class.vectors.data() + (b + 1) * kernels::padded(K));
        }
    }
    const double sum = tables.anchors.back().sum * tables.anchors.back().growth;
    if (std::abs(sum - 1.0) > 1e-10) log10_likelihood += std::log10(sum);
    return true;
}

bool haploid_posteriors_by_classes(const haploid_problem& problem, const haplotype_classes& classes,
                                   haploid_tables& tables, haploid_class_tables& by_class,
                                   const std::vector<haploid_request>& requests, haploid_results& results) {
    results.weights.resize(problem.n_sites);
    return posterior_walk(problem, tables, by_class, requests, results).run(classes);
}
