#include "Comparison.h"

#include <fdn/CBase.h>
#include <fdn/P.h>

#include <boost/smart_ptr/intrusive_ptr.hpp>
#include <boost/smart_ptr/intrusive_ref_counter.hpp>

#include <memory>

namespace {

class CCounted : public fdn::CBase {};

class BoostCounted : public boost::intrusive_ref_counter<BoostCounted> {
public:
    virtual ~BoostCounted() = default;
};

class Plain {
public:
    virtual ~Plain() = default;
};

template <class Pointer>
void copyAndRelease(benchmark::State& state, Pointer const& pointer) {
    for (auto _ : state) {
        Pointer copy(pointer);
        benchmark::DoNotOptimize(copy);
    }
}

void useP(benchmark::State& state) {
    copyAndRelease(state, fdn::newObj<CCounted>());
}

void useIntrusivePtr(benchmark::State& state) {
    copyAndRelease(state, boost::intrusive_ptr<BoostCounted>(new BoostCounted));
}

void useSharedPtr(benchmark::State& state) {
    copyAndRelease(state, std::make_shared<Plain>());
}

constexpr char kReason[] =
    "The operations that count are virtual: before an object is counted in place, a check shows that it has "
    "not overridden them.";

Comparison const copying("copy and release a pointer", kReason,
                         {{"fdn::P", &useP},
                          {"boost::intrusive_ptr", &useIntrusivePtr},
                          {"std::shared_ptr", &useSharedPtr}});

} // namespace
