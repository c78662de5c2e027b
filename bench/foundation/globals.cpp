#include "Comparison.h"

#include <fdn/TSafeGlobalPointer.h>

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

constexpr char kReason[] =
    "The compiler's flag only says that the global pointer is there. Each use also checks the state of the "
    "object, whose construction may have failed.";

Comparison const readingGlobals("read a global object", kReason,
                                {{"fdn::TSafeGlobalPointer", &readGlobal<&getSafeGlobal>},
                                 {"function-local static", &readGlobal<&getFunctionLocalStatic>}});

} // namespace
