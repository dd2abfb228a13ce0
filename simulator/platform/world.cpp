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

std::string World::whereAndWhen() const {
    const ThreadState* thread = Scheduler::current();
    return "by " + (thread ? thread->name : std::string("a thread on its way out")) + " at " +
           std::to_string(scheduler.now() / kMillisecond) + " ms";
}

} // namespace simulator
