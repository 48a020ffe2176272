#include "RealFft.h"

#include <kiss_fftr.h>

#include <cassert>
#include <type_traits>

namespace tarn {
namespace {

struct Free {
    void operator()(kiss_fftr_cfg plan) const { kiss_fftr_free(plan); }
};

using Plan = std::unique_ptr<std::remove_pointer_t<kiss_fftr_cfg>, Free>;

}  // namespace

struct RealFft::Plans {
    Plan forward;
    Plan inverse;
};

RealFft::RealFft(std::size_t length) : length_(length), plans_(std::make_unique<Plans>()) {
    assert(length % 2 == 0);
    plans_->forward.reset(kiss_fftr_alloc(static_cast<int>(length), 0, nullptr, nullptr));
    plans_->inverse.reset(kiss_fftr_alloc(static_cast<int>(length), 1, nullptr, nullptr));
    if (!plans_->forward || !plans_->inverse) {
        throw std::bad_alloc();
    }
}

RealFft::~RealFft() = default;

void RealFft::forward(std::span<const float> samples, std::span<std::complex<float>> spectrum) {
    assert(samples.size() == length() && spectrum.size() == bins());
    kiss_fftr(plans_->forward.get(), samples.data(), reinterpret_cast<kiss_fft_cpx*>(spectrum.data()));
}

void RealFft::inverse(std::span<const std::complex<float>> spectrum, std::span<float> samples) {
    assert(samples.size() == length() && spectrum.size() == bins());
    kiss_fftri(plans_->inverse.get(), reinterpret_cast<const kiss_fft_cpx*>(spectrum.data()), samples.data());
    const float scale = 1.0F / static_cast<float>(length_);
    for (float& sample : samples) {
        sample *= scale;
    }
}

}  // namespace tarn
