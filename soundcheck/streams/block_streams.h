/**
 * @file
 * The two ends of a command: what fills played blocks, and what takes captured ones. Their functions run on a
 * device's thread with the DSP lock held and return within a few milliseconds. Ownership: the Session keeps them
 * until no callback can come any more.
 */
#pragma once

#include "orvosoundbackend.h"

#include <cstdint>

namespace soundcheck {

class BlockSource {
public:
    BlockSource() = default;
    BlockSource(const BlockSource&) = delete;
    BlockSource& operator=(const BlockSource&) = delete;
    virtual ~BlockSource() = default;

    /** Audio thread: fills the block. @return frames written; the rest becomes silence */
    virtual std::int32_t fill(const AudioBlock& block) = 0;
};

class BlockSink {
public:
    BlockSink() = default;
    BlockSink(const BlockSink&) = delete;
    BlockSink& operator=(const BlockSink&) = delete;
    virtual ~BlockSink() = default;

    /** Audio thread. @param reference may be null */
    virtual void take(const AudioBlock& captured, const AudioBlock* reference) = 0;
};

} // namespace soundcheck
