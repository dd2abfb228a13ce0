/**
 * @file
 * What the sines of the probe are expected to be, sample by sample: their levels and phases per channel, the delay
 * since a first frame, and how fast the clocks of the two devices drift apart. Pure but for what it learns.
 */
#pragma once

#include "loopback/loop_result.h"
#include "loopback/probe_signal.h"
#include "loopback/tone_fitter.h"

#include <cstddef>
#include <optional>
#include <vector>

namespace soundcheck {

class ToneModel {
public:
    /** @param recording outlives the model. @param probe at the recording's rate */
    ToneModel(const LoopRecording& recording, const ProbeSignal& probe);

    /** Learns the sines from the first stretch in [begin, end) that holds nothing else. @return false: there is none */
    bool lock(std::size_t begin, std::size_t end);
    /** The first frame of that stretch; the delay counts from there. */
    std::size_t begin() const { return m_reference; }

    std::size_t windowFrames() const { return m_fitter.frames(); }
    /** What a window holds, per channel of the recording. */
    std::vector<ToneFit> fit(std::size_t frame) const;
    /** Nothing but the sines, at about the level they had. */
    bool isClean(const std::vector<ToneFit>& fits) const;

    /** How many frames late everything is at `frame`, as far as is known. */
    double delayAt(std::size_t frame) const;
    /** A sample is too far from what is expected, everything being `moved` frames later than known. */
    bool departs(std::size_t frame, double moved = 0) const;
    /** The first such one. */
    std::optional<std::size_t> firstDeparture(std::size_t begin, std::size_t end, double moved = 0) const;
    /** By how many frames the sines of a clean window have moved. @param spoilt frames before the window */
    double movedFrames(const std::vector<ToneFit>& fits, std::size_t frame, std::size_t spoilt) const;

    /** Learns delay, drift and levels from the window at `frame`. */
    void update(std::size_t frame);
    /** From now on everything is so many frames later. */
    void move(std::size_t frame, double frames);

    /** Per channel of the recording and sine of the probe; 0 where nothing is heard. */
    std::vector<std::vector<Phasor>> tones() const;

private:
    /** What is expected of a channel. */
    struct Channel {
        std::size_t number = 0;
        std::vector<Phasor> tones; ///< at m_reference
        double offset = 0;
        double noise = 0;
        double threshold = 0;
    };
    /** How far a sine's phase is from the expected one. */
    struct PhaseError {
        double radiansPerFrame = 0;
        double radians = 0;
        double amplitude = 0;
        double tolerance = 0;
    };

    void learn(const std::vector<std::vector<ToneFit>>& windows);
    Phasor expected(const Channel& channel, std::size_t tone, double frame, double delay) const;
    std::vector<PhaseError> phaseErrors(const std::vector<ToneFit>& fits, std::size_t frame, double delay) const;
    double fineDelay(const std::vector<ToneFit>& fits, std::size_t frame, double delay) const;

    const LoopRecording& m_recording;
    ToneFitter m_fitter;
    std::vector<Channel> m_channels; ///< those that the sines are heard on
    std::size_t m_reference = 0;     ///< the frame at which the delay was 0
    std::size_t m_known = 0;         ///< the frame at which m_delay was found
    double m_delay = 0;
    double m_drift = 0; ///< delay per frame
};

} // namespace soundcheck
