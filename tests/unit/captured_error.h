#pragma once

#include <gtest/gtest.h>

#include <string>

namespace directsound {

/// Runs an action and returns what it wrote to the process's standard error.
template <typename Action>
[[nodiscard]] std::string errorOf(Action action) {
    testing::internal::CaptureStderr();
    action();
    return testing::internal::GetCapturedStderr();
}

} // namespace directsound
