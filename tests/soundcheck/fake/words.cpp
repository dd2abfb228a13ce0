#include "words.h"

#include <windows.h>

#include <array>
#include <chrono>
#include <fstream>
#include <mutex>
#include <thread>

namespace fake {
namespace {

std::mutex journalMutex;
std::string journal;

std::string variable(const char* name) {
    std::array<char, 512> text{};
    const DWORD length = GetEnvironmentVariableA(name, text.data(), static_cast<DWORD>(text.size()));
    return {text.data(), length};
}

} // namespace

bool asked(const std::string& word) {
    return (" " + variable("FAKE_BACKEND") + " ").find(" " + word + " ") != std::string::npos;
}

void hangIfAsked(const std::string& word) {
    while (asked(word))
        std::this_thread::sleep_for(std::chrono::seconds(1));
}

void takeTimeIfAsked() {
    if (asked("slow-calls"))
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
}

void note(const std::string& word) {
    const std::lock_guard lock(journalMutex);
    journal += word + " ";
    if (const std::string file = variable("FAKE_BACKEND_JOURNAL"); !file.empty())
        std::ofstream(file, std::ios::app) << word << ' ';
}

const char* notes() {
    return journal.c_str();
}

} // namespace fake
