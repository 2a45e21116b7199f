#include "inference/haploid/haploid_class_sweep.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>

#include "inference/haploid/observed_sites.h"
#include "inference/kernels/kernels.h"

namespace {

// Beyond these factors and sums of products are no longer sure to stay inside the range of doubles together.
constexpr double largest_factor = 1e100, least_product = 1e-280;

// Sums over the states of each class, padded with zeros: of n numbers that numbers(k) gives for state k. Four sums side
// by side: one addition need not wait for the one before.
template <std::size_t n, typename Numbers>
void add_by_class(std::size_t n_states, const std::uint16_t* of_state, std::size_t stride, const Numbers& numbers,
                  aligned_buffer& scratch, const std::array<double*, n>& sums) {
    ensure_size(scratch, 4 * n * stride);
    double* part = scratch.data();
    std::fill_n(part, 4 * n * stride, 0.0);
    const auto add = [=, &numbers](std::size_t k, std::size_t side) {
        const std::array<double, n> x = numbers(k);
        double* place = part + side * n * stride + of_state[k];
        for (std::size_t i = 0; i < n; ++i) place[i * stride] += x[i];
    };
    std::size_t k = 0;
    for (; k + 4 <= n_states; k += 4) {
        add(k, 0);
        add(k + 1, 1);
        add(k + 2, 2);
        add(k + 3, 3);
    }
    for (; k < n_states; ++k) add(k, 0);
    for (std::size_t i = 0; i < n; ++i) {
        const double* from = part + i * stride;
        const std::size_t side = n * stride;
        for (std::size_t c = 0; c < stride; ++c) {
            sums[i][c] = (from[c] + from[side + c]) + (from[2 * side + c] + from[3 * side + c]);
        }
    }
}

// Values of all states at a border of a block, as the image of those at another.
struct state_values {
    kernels::class_image image;
    const std::uint16_t* of_state;
    const double* from;
    double operator()(std::size_t k) const { return image.factor[of_state[k]] * from[k] + image.arrived[of_state[k]]; }
};

// What both sweeps do with a block.
class class_block {
  public:
    class_block(const haploid_problem& problem, haploid_tables& tables, haploid_class_tables& by_class, std::size_t b,
                std::size_t first)
        : p_(problem), t_(tables), c_(by_class), here_(by_class.blocks[b]), first_(first) {
        n_ = here_.n_classes;
        stride_ = kernels::padded(n_);
        of_state_ = c_.of_state.data() + b * p_.n_states;
        for (aligned_buffer* buffer : {&c_.right_sums, &c_.products}) ensure_size(*buffer, stride_);
        size_ = c_.size.data() + here_.sums;
        left_sums_ = c_.left_sums.data() + here_.sums;
        left_ = c_.vectors.data() + b * kernels::padded(p_.n_states);
    }

    std::size_t n_classes() const { return n_; }
    std::size_t anchor() const { return here_.anchor; }
    const std::uint64_t* bits(std::size_t v) const {
        return c_.alleles.data() + here_.alleles + (v - first_) * bits::words_for(n_);
    }
    kernels::class_sums left_sums() const { return {size_, left_sums_}; }
    kernels::class_sums right_sums() const { return {size_, c_.right_sums.data()}; }

    // Fills the values at the left border.
    template <typename Values>
    void enter_left(const Values& values) {
        add_by_class<2>(p_.n_states, of_state_, stride_,
                        [this, &values](std::size_t k) {
                            return std::array{1.0, left_[k] = values(k)};
                        },
                        c_.scratch, {size_, left_sums_});
    }
    // Fills the values at the right border. Returns whether no product of values vanished.
    template <typename Values>
    bool enter_right(const Values& values) {
        double* right = c_.right.data();
        add_by_class<2>(p_.n_states, of_state_, stride_,
                        [this, &values, right](std::size_t k) {
                            right[k] = values(k);
                            return std::array{right[k], left_[k] * right[k]};
                        },
                        c_.scratch, {c_.right_sums.data(), c_.products.data()});
        for (std::size_t c = 0; c < n_; ++c) {
            if (c_.products[c] < least_product && left_sums_[c] > 0.0 && c_.right_sums[c] > 0.0) return false;
        }
        return true;
    }
    state_values behind(const kernels::class_image& image, const double* from) const {
        return {image, of_state_, from};
    }
    state_values behind_left(std::size_t i) const { return behind(image(i), left_); }

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

  private:
    const haploid_problem& p_;
    haploid_tables& t_;
    haploid_class_tables& c_;
    const haploid_class_tables::block& here_;
    const std::size_t first_;
    std::size_t n_ = 0, stride_ = 0;
    const std::uint16_t* of_state_ = nullptr;
    double* size_ = nullptr;
    double* left_sums_ = nullptr;
    double* left_ = nullptr;
};

constexpr std::uint16_t no_class = 0xffff;

// Numbers the classes of the panel in the order in which they are met; local, by class of the panel, is no_class all
// over. Without branches, which could not be foreseen. Returns how many there are.
[[gnu::noinline]] std::size_t number_classes(std::size_t n_states, const int* hap, const std::uint16_t* class_of,
                                             std::uint16_t* local, std::uint16_t* met, std::uint16_t* of_state) {
    unsigned n_met = 0;
    for (std::size_t k = 0; k < n_states; ++k) {
        const unsigned of_panel = class_of[hap[k]], known = local[of_panel];
        const unsigned is_new = known == no_class ? 1 : 0, number = known ^ ((known ^ n_met) & (0U - is_new));
        met[n_met] = static_cast<std::uint16_t>(of_panel);
        local[of_panel] = of_state[k] = static_cast<std::uint16_t>(number);
        n_met += is_new;
    }
    return n_met;
}

// Lists the classes among the states in a block of the panel.
void list_states(const haploid_problem& p, const haplotype_classes& classes, std::size_t b, std::span<const int> hap,
                 haploid_class_tables& c) {
    const std::size_t n_of_panel = classes.blocks()[b].n_classes;
    std::uint16_t* of_state = c.of_state.data() + b * p.n_states;
    c.local.assign(n_of_panel, no_class);
    c.met.resize(n_of_panel + 1);
    const std::size_t n =
        number_classes(p.n_states, hap.data(), classes.class_of(b), c.local.data(), c.met.data(), of_state);
    c.met.resize(n);
    c.blocks[b].n_classes = n;
    c.blocks[b].sums = c.n_sums;
    c.n_sums += kernels::padded(n);
    ensure_size(c.size, c.n_sums);
    ensure_size(c.left_sums, c.n_sums);
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

    bool run(const haplotype_classes& classes, std::span<const int> hap) {
        const std::size_t n_blocks = classes.blocks().size();
        c_.blocks.assign(n_blocks, {});
        c_.of_state.resize(n_blocks * p_.n_states);
        c_.alleles.clear();
        c_.n_sums = 0;
        ensure_size(c_.vectors, n_blocks * kernels::padded(p_.n_states));
        std::optional<class_block> before;
        for (std::size_t b = 0; b < n_blocks; ++b) {
            c_.blocks[b].anchor = last_anchor_;
            list_states(p_, classes, b, hap, c_);
            list_alleles(classes, b, c_);
            class_block block(p_, t_, c_, b, classes.blocks()[b].first);
            if (b == 0) {
                block.enter_left([](std::size_t /*k*/) { return 1.0; });
            } else {
                block.enter_left(before->behind_left(last_anchor_));
            }
            if (!pass_block(block, classes.blocks()[b].end)) return false;
            before.emplace(block);
        }
        return true;
    }

    double log10_likelihood() const {
        const double sum = t_.anchors.back().sum * t_.anchors.back().growth;
        return std::abs(sum - 1.0) > 1e-10 ? log10_likelihood_ + std::log10(sum) : log10_likelihood_;
    }

  private:
    bool pass_block(class_block& block, std::size_t end_site) {
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
                   std::span<const haploid_request> requests, haploid_results& results)
        : p_(problem), t_(tables), c_(by_class), requests_(requests), r_(results) {}

    bool run(const haplotype_classes& classes) {
        look_right(p_, t_);
        ensure_size(c_.right, kernels::padded(p_.n_states));
        right_sum_ = static_cast<double>(p_.n_states);
        end_anchor_ = t_.anchors.size();
        std::optional<class_block> after;
        for (std::size_t b = classes.blocks().size(); b-- > 0;) {
            class_block block(p_, t_, c_, b, classes.blocks()[b].first);
            const bool entered = after ? block.enter_right(after->behind(right_, c_.right.data()))
                                       : block.enter_right([](std::size_t /*k*/) { return 1.0; });
            if (!entered || !pass_block(block, classes.blocks()[b])) return false;
            after.emplace(block);
        }
        return true;
    }

  private:
    bool pass_block(class_block& block, const haplotype_classes::block& of_panel) {
        const std::size_t n_anchors = end_anchor_ - block.anchor() - 1;
        block.make_room(n_anchors);
        block.unchanged(block.image(block.anchor()).factor);
        for (std::size_t i = block.anchor() + 1; i < end_anchor_; ++i) {
            block.enter(i);
            if (t_.anchors[i].scale != 1.0) block.divide(block.image(i), t_.anchors[i].scale);
        }
        ensure_size(c_.right_image, 2 * kernels::padded(block.n_classes()));
        right_ = block.unchanged(c_.right_image.data());
        std::size_t end = of_panel.end;
        for (std::size_t i = end_anchor_; i-- > block.anchor();) {
            const bool at_border = i == block.anchor();
            report(block, i, at_border ? of_panel.first : t_.anchors[i].site, end);
            if (at_border) break;
            end = t_.anchors[i].site;
            if (!emit(block, i)) return false;
        }
        end_anchor_ = block.anchor() + 1;
        return true;
    }

    // The posterior weights that are wanted at the sites from first to before end, of anchor i.
    void report(const class_block& block, std::size_t i, std::size_t from, std::size_t to) {
        const auto [first, end] = wanted_stretch(requests_, from, to);
        if (first >= end) return;
        list_state_weights(t_, i, right_sum_, first, end);
        const std::size_t n_observed = i > 0 && t_.anchors[i].site == first ? 1 : 0;
        static_assert(sizeof(allele_weights) == sizeof(double[2]));
        kernels::active().weigh_by_class(block.n_classes(), block.left_sums(), block.image(i), block.right_sums(),
                                         right_, c_.products.data(), end - first, n_observed, block.bits(first),
                                         t_.state_weights.data(), c_.scratch.data(),
                                         reinterpret_cast<double(*)[2]>(&r_.weights[first]));
    }

    bool emit(class_block& block, std::size_t i) {
        const std::size_t v = t_.anchors[i].site;
        const std::uint8_t seen = p_.observed[v];
        right_sum_ = kernels::active().enter_by_class(block.n_classes(), block.right_sums(), right_, t_.right_alpha[v],
                                                      t_.right_mu[v] * right_sum_, block.bits(v), p_.emission[0][seen],
                                                      p_.emission[1][seen], right_);
        if (right_sum_ >= rescale_below) return true;
        const double divisor = right_sum_;
        right_sum_ = 1.0;
        return divisor > 0.0 && block.divide(right_, divisor);
    }

    const haploid_problem& p_;
    haploid_tables& t_;
    haploid_class_tables& c_;
    std::span<const haploid_request> requests_;
    haploid_results& r_;
    std::size_t end_anchor_ = 0;  // the first one right of the block in hand
    // The backward values at the anchor in hand, its emission included, as seen from the block's right border.
    kernels::class_image right_{};
    double right_sum_ = 0.0;
};

}  // namespace

std::optional<double> haploid_forward_by_classes(const haploid_problem& problem, const haplotype_classes& classes,
                                                 std::span<const int> hap, haploid_tables& tables,
                                                 haploid_class_tables& by_class) {
    if (problem.n_states == 0 || problem.n_sites == 0 || !lay_out_anchors(problem, tables)) return std::nullopt;
    forward_by_class forward(problem, tables, by_class);
    if (!forward.run(classes, hap)) return std::nullopt;
    return forward.log10_likelihood();
}

bool haploid_posteriors_by_classes(const haploid_problem& problem, const haplotype_classes& classes,
                                   haploid_tables& tables, haploid_class_tables& by_class,
                                   std::span<const haploid_request> requests, haploid_results& results) {
    results.weights.resize(problem.n_sites);
    return posterior_walk(problem, tables, by_class, requests, results).run(classes);
}
