#include "bench/report/Measurement.h"

#include <cstdio>
#include <fstream>
#include <stdexcept>
#include <string>

#include <malloc.h>

namespace tavrel {
namespace {

/// Not getrusage's, which knows the peak of the process that started this one too.
long PeakKilobytes() {
    std::ifstream status("/proc/self/status");
    for (std::string word; status >> word;)
        if (long kilobytes = 0; word == "VmHWM:" && status >> kilobytes)
            return kilobytes;
    throw std::runtime_error("/proc/self/status names no peak of memory");
}

} // namespace

Measurement::Measurement() : peakKilobytes_(PeakKilobytes()), start_(std::chrono::steady_clock::now()) {}

void Measurement::StartAtRest() {
    malloc_trim(0);
    std::ofstream("/proc/self/clear_refs") << '5'; // the process's own peak (proc(5))
}

void Measurement::Print(std::string_view name) const {
    const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - start_;
    const long bytes = (PeakKilobytes() - peakKilobytes_) * 1024;
    std::printf("%.*s\t%.9f\t%ld\n", static_cast<int>(name.size()), name.data(), passed.count(), bytes);
}

} // namespace tavrel
