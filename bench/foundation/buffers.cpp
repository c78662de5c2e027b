#include "Comparison.h"

#include <fdn/TBuffer.h>

#include <array>
#include <cstring>
#include <vector>

namespace {

constexpr int kAppends = 1000;
constexpr double kGrowFactor = 2.0;

using Block = std::array<unsigned char, 64>;

Block const block = {1, 2, 3};

void appendBytesToTBuffer(benchmark::State& state) {
    for (auto _ : state) {
        fdn::TBuffer<unsigned char> buffer;
        buffer.setMinGrowFactor(kGrowFactor);
        for (int i = 0; i < kAppends; ++i) {
            *buffer.getFreePtr(1) = static_cast<unsigned char>(i);
            buffer.addUsed(1);
        }
        benchmark::DoNotOptimize(buffer.getData());
    }
}

void appendBytesToVector(benchmark::State& state) {
    for (auto _ : state) {
        std::vector<unsigned char> buffer;
        for (int i = 0; i < kAppends; ++i)
            buffer.push_back(static_cast<unsigned char>(i));
        benchmark::DoNotOptimize(buffer.data());
    }
}

void appendBlocksToTBuffer(benchmark::State& state) {
    for (auto _ : state) {
        fdn::TBuffer<unsigned char> buffer;
        buffer.setMinGrowFactor(kGrowFactor);
        for (int i = 0; i < kAppends; ++i) {
            std::memcpy(buffer.getFreePtr(static_cast<int>(block.size())), block.data(), block.size());
            buffer.addUsed(static_cast<int>(block.size()));
        }
        benchmark::DoNotOptimize(buffer.getData());
    }
}

void appendBlocksToVector(benchmark::State& state) {
    for (auto _ : state) {
        std::vector<unsigned char> buffer;
        for (int i = 0; i < kAppends; ++i)
            buffer.insert(buffer.end(), block.begin(), block.end());
        benchmark::DoNotOptimize(buffer.data());
    }
}

constexpr char kReason[] =
    "Making room and taking it into use are two operations, and each checks the room, because for all the "
    "compiler knows the bytes written in between might be those of the counts. So each time the count goes "
    "through the memory, for which some processors wait far longer than others. Telling the compiler that "
    "there is room in most cases changes nothing.";

Comparison const appendingBytes("append 1000 bytes one by one", kReason,
                                {{"fdn::TBuffer", &appendBytesToTBuffer},
                                 {"std::vector", &appendBytesToVector}});

Comparison const appendingBlocks("append 1000 blocks of 64 bytes", kReason,
                                 {{"fdn::TBuffer", &appendBlocksToTBuffer},
                                  {"std::vector", &appendBlocksToVector}});

} // namespace
