#include "world.h"

namespace simulator {
namespace {

World* g_World = nullptr;

} // namespace

World* world() {
    return g_World;
}

void setWorld(World* world) {
    g_World = world;
}

World* scheduledWorld(const char* call) {
    if (world() && !Scheduler::current())
        Scheduler::refuseOtherThread(call);
    return world();
}

std::vector<Replacement> allFunctions() {
    std::vector<Replacement> all;
    for (const auto& functions : {kernelFunctions(), timeFunctions(), comFunctions(), textFunctions(),
                                  memoryFunctions(), streamFunctions(), soundFunctions()})
        all.insert(all.end(), functions.begin(), functions.end());
    return all;
}

std::vector<std::string> functionsWithRules() {
    std::vector<std::string> names;
    for (const Replacement& replacement : allFunctions()) {
        const std::string name = replacement.function;
        if (name != "free" && name != "putc") // on any thread; goes by the name of fputc
            names.push_back(name);
    }
    return names;
}

Verdict World::briefCall(std::string_view name) {
    const DWORD error = GetLastError();
    Verdict verdict = script.next(name, "");
    for (const auto& action : verdict.actions)
        action();
    scheduler.spend(verdict.time);
    if (verdict.fails)
        scheduler.trace().add(scheduler.now(), Scheduler::current()->name, "  made to fail:", name);
    SetLastError(verdict.fails ? verdict.error.value_or(error) : error);
    return verdict;
}

std::string World::whereAndWhen() const {
    const ThreadState* thread = Scheduler::current();
    return "by " + (thread ? thread->name : std::string("a thread on its way out")) + " at " +
           std::to_string(scheduler.now() / kMillisecond) + " ms";
}

} // namespace simulator
