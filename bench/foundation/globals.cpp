#include <fdn/TSafeGlobalPointer.h>

#include <benchmark/benchmark.h>

namespace {

class CThing : public fdn::CBase {
public:
    int value = 1;
};

char& thingGuard() {
    static char guard = 0;
    return guard;
}

fdn::P<CThing> createThing() {
    return fdn::newObj<CThing>();
}

CThing& getSafeGlobal() {
    static fdn::TSafeGlobalPointer<CThing> thing(&thingGuard, &createThing);
    return *thing;
}

CThing& getFunctionLocalStatic() {
    static fdn::P<CThing> const thing = createThing();
    return *thing;
}

template <CThing& (*get)()>
void readGlobal(benchmark::State& state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(get().value);
}

BENCHMARK(readGlobal<&getSafeGlobal>)->Name("read a global object/fdn::TSafeGlobalPointer");
BENCHMARK(readGlobal<&getFunctionLocalStatic>)->Name("read a global object/function-local static");

} // namespace
