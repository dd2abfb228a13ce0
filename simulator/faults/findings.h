// What is wrong with the code under test, collected while it runs: misuse of the platform, things not given back.
#pragma once

#include <string>
#include <vector>

namespace simulator {

class Findings {
public:
    void add(std::string what) { m_All.push_back(std::move(what)); }
    [[nodiscard]] const std::vector<std::string>& all() const { return m_All; }

private:
    std::vector<std::string> m_All;
};

} // namespace simulator
