#include "commands/echo_association.h"

#include "platform/text.h"

#include <bit>

namespace soundcheck {
namespace {

/** The channels of the reference: as many as the mask has bits; the system's markers fit into the rule. */
std::uint32_t channelsOf(const EchoFormat& echo) {
    return static_cast<std::uint32_t>(std::popcount(echo.channelMask));
}

} // namespace

EchoOutput makeEchoOutput(const std::string& file, const EchoFormat& echo) {
    const WavFormat format{channelsOf(echo), 16, echo.sampleRate, echo.channelMask};
    return {WavWriter(toPath(file), format), format.bytesPerFrame(), echo.sampleRate / kBlocksPerSecond};
}

void checkEchoFormat(Checks& checks, const EchoFormat& echo, const DeviceFormat& playback) {
    if (channelsOf(echo) == 0)
        throw Failure(ExitCode::checkFailed, "The speakers of the playback device are not known to the system, so no "
                                             "echo reference can come.");
    checks.expect(echo.bitsPerSample == 16, "The echo reference is announced with " +
                                                std::to_string(echo.bitsPerSample) + " bits, not with 16.");
    checks.expect(echo.sampleRate == playback.sampleRate,
                  "The echo reference is announced with " + std::to_string(echo.sampleRate) +
                      " Hz, but the playback device runs at " + std::to_string(playback.sampleRate) + " Hz.");
    checks.expect(channelsOf(echo) == playback.channels,
                  "The echo reference is announced with " + std::to_string(channelsOf(echo)) +
                      " channels, but the playback device runs with " + std::to_string(playback.channels) + ".");
    checks.expect(echo.associationCounter == 1, "The first association has the number " +
                                                    std::to_string(echo.associationCounter) + " instead of 1.");
    if (echo.sampleRate < kBlocksPerSecond)
        throw Failure(ExitCode::checkFailed, "No echo file can be written with this rate.");
}

} // namespace soundcheck
