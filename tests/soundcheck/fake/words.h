/**
 * @file
 * What a test asks of the fake plug-in, and what it is told: the words in FAKE_BACKEND (fake_backend.h explains them), and
 * the notes of all calls. Any thread.
 */
#pragma once

#include <string>

namespace fake {

/** Whether this word is in FAKE_BACKEND now. */
bool asked(const std::string& word);

/** Does not return while this word is in FAKE_BACKEND. */
void hangIfAsked(const std::string& word);

/** Takes a while when slow calls are asked for. */
void takeTimeIfAsked();

/** Adds a word to the notes, and to the file that FAKE_BACKEND_JOURNAL names. */
void note(const std::string& word);

/** All notes; lives as long as the plug-in is loaded. */
const char* notes();

} // namespace fake
