// The texts of results, as the client reads them in the line of a failing device call.
#include "discovery.h"

#include <utility>

namespace scenario {
namespace {

// Fails the first call of opening a playback device with this result, and answers the line that the client gets.
std::string lineFor(Simulation& sim, Client& client, const Device& speaker, DWORD value) {
    const auto result = static_cast<long long>(static_cast<HRESULT>(value));
    sim.on("DirectSoundCreate8").onCall(1).fails(result);
    client.logs.clear();
    EXPECT_EQ(client.open(speaker).result, -228);
    const Texts lines = client.logTexts(1);
    return lines.size() == 1 ? lines[0] : std::to_string(lines.size()) + " lines";
}

using Expected = std::vector<std::pair<DWORD, std::string>>;

} // namespace
} // namespace scenario

SCENARIO(HresultText, NineDirectSoundValues_HaveTextsOfTheirOwn,
         "Nine DirectSound results have English texts of their own, followed by the result in lower-case hexadecimal "
         "digits and nothing else.") {
    const Device& speaker = sim.playback("Speaker");
    client.initialize();
    const Expected all{
        {0x8878001E, "The requested control is not available (0x8878001e)"},
        {0x88780032, "The call is not valid for the current state of this object (0x88780032)"},
        {0x88780046, "The function requires a higher priority level (0x88780046)"},
        {0x88780064, "The specified wave format is not supported (0x88780064)"},
        {0x88780078, "No sound driver is available for use (0x88780078)"},
        {0x88780096, "Buffer memory has been lost, and must be restored (0x88780096)"},
        {0x887800A0, "Another dsound app has focus, preventing this call from succeeding (0x887800a0)"},
        {0x887800AA, "This object has not been initialized (0x887800aa)"},
        {0x887800BE, "Attempted to use DirectSound 8+ functionality on an older DirectSound object (0x887800be)"},
    };
    for (const auto& [value, text] : all)
        EXPECT_EQ(lineFor(sim, client, speaker, value), "unknown error: " + text);
    EXPECT_EQ(sim.count("FormatMessageW"), 0u);
    client.finalize();
}

SCENARIO(HresultText, AudioClientValues_AreNamed,
         "The 23 audio-client results from 0x88890001 to 0x88890017 are told by their symbolic names.") {
    const Device& speaker = sim.playback("Speaker");
    client.initialize();
    const Texts all{"NOT_INITIALIZED",
                    "ALREADY_INITIALIZED",
                    "WRONG_ENDPOINT_TYPE",
                    "DEVICE_INVALIDATED",
                    "NOT_STOPPED",
                    "BUFFER_TOO_LARGE",
                    "OUT_OF_ORDER",
                    "UNSUPPORTED_FORMAT",
                    "INVALID_SIZE",
                    "DEVICE_IN_USE",
                    "BUFFER_OPERATION_PENDING",
                    "THREAD_NOT_REGISTERED",
                    "NO_SINGLE_PROCESS",
                    "EXCLUSIVE_MODE_NOT_ALLOWED",
                    "ENDPOINT_CREATE_FAILED",
                    "SERVICE_NOT_RUNNING",
                    "EVENTHANDLE_NOT_EXPECTED",
                    "EXCLUSIVE_MODE_ONLY",
                    "BUFDURATION_PERIOD_NOT_EQUAL",
                    "EVENTHANDLE_NOT_SET",
                    "INCORRECT_BUFFER_SIZE",
                    "BUFFER_SIZE_ERROR",
                    "CPUUSAGE_EXCEEDED"};
    ASSERT_EQ(all.size(), 23u);
    DWORD value = 0x88890001;
    for (const std::string& name : all) {
        const std::string digits = value < 0x88890010 ? "0x8889000" : "0x8889001";
        const std::string digit(1, "0123456789abcdef"[value & 15]);
        std::string expected = "unknown error: AUDCLNT_E_";
        expected.append(name).append(" (").append(digits).append(digit).append(")");
        EXPECT_EQ(lineFor(sim, client, speaker, value), expected);
        ++value;
    }
    client.finalize();
}

SCENARIO(HresultText, ValuesBesideTheTables_AreLeftToTheSystem,
         "Values just beside the audio-client names and all other DirectSound results are told in the system's "
         "words; the client, which reads up to the NUL byte, sees these words alone.") {
    const Device& speaker = sim.playback("Speaker");
    client.initialize();
    for (const DWORD value :
         {0x88890000u, 0x88890018u, 0x8878000Au, 0x88780082u, 0x887800B4u, 0x8878001Du, 0x887800BFu, 0x80004005u}) {
        sim.system().messages[value] = L"the system's words\r\n";
        EXPECT_EQ(lineFor(sim, client, speaker, value), "unknown error: the system's words") << std::hex << value;
    }
    client.finalize();
}

SCENARIO(HresultText, LineEnds_AreCutOnce,
         "From a system message of two characters or more one line feed is cut, and one carriage return before it.") {
    const Device& speaker = sim.playback("Speaker");
    client.initialize();
    const std::vector<std::pair<std::wstring, std::string>> all{
        {L"words\r\n", "words"},
        {L"words\n", "words"},
        {L"words\r", "words\r"},
        {L"words", "words"},
        {L"w\n\n", "w\n"},
        {L"w\r\n\r\n", "w\r\n"},
        {L"\n", "\n"},
        {L"\r\n", ""},
        {L"w\n", "w"},
        {L"two\r\nlines", "two\r\nlines"},
        {L"w \r\n", "w "},
        {L"x", "x"},
        {{L"words\0more\r\n", 12}, "words"}, // it ends where its terminator stands
    };
    for (const auto& [message, text] : all) {
        sim.system().messages[0x80004005] = message;
        EXPECT_EQ(lineFor(sim, client, speaker, 0x80004005), "unknown error: " + text);
    }
    client.finalize();
}

SCENARIO(HresultText, ForeignWords_ArriveInUtf8, "A system message in any language arrives in UTF-8.") {
    const Device& speaker = sim.playback("Speaker");
    client.initialize();
    sim.system().messages[0x80004005] = L"Ger\u00E4t \u65E5\u672C \xD83D\xDE00\r\n";
    EXPECT_EQ(lineFor(sim, client, speaker, 0x80004005),
              "unknown error: Ger\xC3\xA4t \xE6\x97\xA5\xE6\x9C\xAC \xF0\x9F\x98\x80");
    sim.system().messages[0x80004005] = std::wstring(1000, L'\u65E5');
    EXPECT_EQ(lineFor(sim, client, speaker, 0x80004005).size(), 15u + 3000u);
    client.finalize();
}

SCENARIO(HresultText, NoSystemMessage_NumberIsToldInstead,
         "Where the system has no words, results of the interface facility from 0x80040201 on are \"IDispatch error "
         "#\" with their number from there, and all others \"Unknown error 0x\" with upper-case digits.") {
    const Device& speaker = sim.playback("Speaker");
    client.initialize();
    const Expected all{
        {0x800401FF, "Unknown error 0x800401FF"}, {0x80040200, "Unknown error 0x80040200"},
        {0x80040201, "IDispatch error #1"},       {0x8004FFFF, "IDispatch error #65023"},
        {0x80050000, "Unknown error 0x80050000"}, {0xFFFFFFFF, "Unknown error 0xFFFFFFFF"},
        {0x88780082, "Unknown error 0x88780082"}, {0x80000000, "Unknown error 0x80000000"},
    };
    for (const auto& [value, text] : all) {
        sim.system().messages[value] = L"";
        EXPECT_EQ(lineFor(sim, client, speaker, value), "unknown error: " + text);
    }
    client.finalize();
}

SCENARIO(HresultText, WholeText_HoldsNulAndDecimalNumber,
         "On the standard streams a system text stands whole: the words, a NUL byte, the result in signed decimal in "
         "parentheses, then in hexadecimal.") {
    const auto line = [&](DWORD value) {
        sim.on("DirectSoundEnumerateW").onCall(1).fails(static_cast<long long>(static_cast<HRESULT>(value)));
        EXPECT_EQ(sim.exports().orvosoundbackend_isSupported(), -4);
    };
    sim.system().messages[0x80070005] = L"Access denied.\r\n";
    sim.system().messages[0x80040201] = L"";
    sim.system().messages[0x80000000] = L"";
    line(0x80070005);
    line(0x80040201);
    line(0x80000000);
    line(0x88890017);
    Texts expected{"NOTSUPPORTED: Access denied.", "NOTSUPPORTED: IDispatch error #1",
                   "NOTSUPPORTED: Unknown error 0x80000000",
                   "NOTSUPPORTED: AUDCLNT_E_CPUUSAGE_EXCEEDED (0x88890017)"};
    expected[0].append(1, '\0').append(" (-2147024891) (0x80070005)");
    expected[1].append(1, '\0').append(" (-2147220991) (0x80040201)");
    expected[2].append(1, '\0').append(" (-2147483648) (0x80000000)");
    expectOutputLines(expected);
}

SCENARIO(HresultText, WordsNotConvertible_AFixedText,
         "When the words cannot be converted, the text says so with the result in signed decimal, and the "
         "conversion's own line goes to standard error.") {
    const Device& speaker = sim.playback("Speaker");
    client.initialize();
    sim.system().messages[0x80070005] = L"Access denied.\r\n";
    sim.system().messages[1113] = L"No mapping.";
    const std::string text = "unknown error: Error in utf16 conversion of com error message for HRESULT -2147024891 "
                             "(0x80070005)";
    sim.on("WideCharToMultiByte").onCall(1).failsWithError(ERROR_INSUFFICIENT_BUFFER);
    EXPECT_EQ(lineFor(sim, client, speaker, 0x80070005), text);
    sim.on("WideCharToMultiByte").onCall(1).failsWithError(1113);
    EXPECT_EQ(lineFor(sim, client, speaker, 0x80070005), text);
    expectErrorLines({"buffer too small", "error 1113: No mapping."});
    client.finalize();
}

SCENARIO(HresultText, MessageCallFails_CountsAsNoMessage,
         "When the system cannot be asked for words, the text is that of a result without words.") {
    const Device& speaker = sim.playback("Speaker");
    client.initialize();
    sim.on("FormatMessageW").fails(0);
    EXPECT_EQ(lineFor(sim, client, speaker, 0x80070005), "unknown error: Unknown error 0x80070005");
    client.finalize();
}
