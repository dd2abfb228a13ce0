// The client of a session: it does what the session says for as long as that makes sense, whatever fails.
//
// As a real client it uses no device that did not open, closes what it opened, and finalizes. What a session requires
// is looked at in its clean run only.
#pragma once

#include "client.h"
#include "simulation.h"

#include <string>
#include <vector>

namespace sweep {

using simulator::Device;
using simulator::Direction;

class Stage {
public:
    Stage(simulator::Simulation& simulation, simulator::Client& theClient) : sim(simulation), client(theClient) {}

    simulator::Simulation& sim;
    simulator::Client& client;

    void require(bool holds, const char* what);
    [[nodiscard]] const std::vector<std::string>& broken() const { return m_Broken; }

    // Initializes. False: there is no backend, and the session ends here.
    bool begin();
    // Lists the devices of a direction and asks for its default; answers how many came.
    unsigned list(Direction direction);
    // Opens and starts. False: it does not run.
    bool run(const Device& device);
    // Of a device that is open; otherwise nothing.
    void stop(const Device& device);
    void close(const Device& device);
    // Between devices that are open; otherwise nothing.
    void associate(const Device& capture, const Device& playback);

    // Closes what is open, waits, finalizes.
    void end();
    // Closes what is open and finalizes at once.
    void endWithoutWaiting();

private:
    [[nodiscard]] bool isOpen(const Device& device) const;
    void closeAll();

    std::vector<const Device*> m_Open;
    std::vector<std::string> m_Broken;
};

} // namespace sweep
