// Where lines go, and how numbers and system errors are written.
#include "discovery.h"

#include <clocale>
#include <locale>

namespace scenario {
namespace {

class Grouping : public std::numpunct<char> {
protected:
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

// Sets the locale of the client's process while it lives.
class ForeignLocale {
public:
    ForeignLocale() : m_Before(std::locale::global(std::locale(std::locale::classic(), new Grouping))) {
        set = std::setlocale(LC_ALL, "German_Germany.1252") != nullptr;
    }
    ~ForeignLocale() {
        std::locale::global(m_Before);
        std::setlocale(LC_ALL, "C");
    }
    ForeignLocale(const ForeignLocale&) = delete;
    ForeignLocale& operator=(const ForeignLocale&) = delete;
    bool set = false;

private:
    std::locale m_Before;
};

} // namespace
} // namespace scenario

SCENARIO(LogSinks, DeviceFailure_LineOfLevelOneWithTheIdentifier,
         "A failing device call is one line of level 1 with the device's identifier, and nothing on the standard "
         "streams.") {
    const Device& speaker = sim.playback("Speaker");
    client.initialize();
    client.logs.clear();
    sim.on("DirectSoundCreate8").fails(static_cast<long long>(DSERR_NODRIVER));
    EXPECT_EQ(client.open(speaker).result, -228);
    ASSERT_EQ(client.logs.size(), 1u);
    expectLog(1, speaker, "unknown error: No sound driver is available for use (0x88780078)");
    expectErrorLines({});
    expectOutputLines({});
    client.finalize();
}

SCENARIO(LogSinks, NoLogCallback_EverythingElseIsTheSame,
         "With a null logMessage no line is produced, also not elsewhere, and all else works: a failing open keeps "
         "its code, and a device plays.") {
    Device& speaker = sim.playback("Speaker").emulated();
    Device& microphone = sim.capture("Microphone");
    client.callbacks.logMessage = nullptr;
    EXPECT_EQ(client.initialize(), 0);
    sim.on("DirectSoundCreate8").onCall(1).fails(static_cast<long long>(DSERR_NODRIVER));
    EXPECT_EQ(client.open(speaker).result, -228);
    EXPECT_EQ(client.open(microphone).result, 0);
    EXPECT_EQ(client.open(speaker).result, 0);
    EXPECT_EQ(client.start(speaker), 0);
    sim.playback("Headset");
    sim.advance(kUntilRescan);
    EXPECT_GT(client.requests.size(), 50u);
    expectNotifications({"2 Headset 1", "4 Headset 1"});
    EXPECT_TRUE(client.logs.empty());
    expectErrorLines({});
    expectOutputLines({});
    EXPECT_EQ(client.stop(speaker), 0);
    client.closeAndFinalize({&speaker, &microphone});
}

SCENARIO(LogSinks, BackendWideLine_HasAnEmptyCategory,
         "The one line that concerns no device has an empty text as category, level 3, and comes on the thread that "
         "initializes.") {
    client.initialize();
    ASSERT_EQ(client.logs.size(), 1u);
    EXPECT_EQ(client.logs[0].category, "");
    EXPECT_EQ(client.logs[0].text, "setting timer resolution to 1ms");
    EXPECT_EQ(client.logs[0].level, 3);
    EXPECT_EQ(client.logs[0].thread, Scheduler::current()->name);
    client.finalize();
}

SCENARIO(LogSinks, ForeignLocale_NumbersStayPlain,
         "Numbers are written without grouping whatever locale the client's process has set.") {
    const ForeignLocale locale;
    EXPECT_TRUE(locale.set);
    const Device& speaker = sim.playback("Speaker");
    sim.system().timerMinimum = 1'234'567;
    client.initialize();
    ASSERT_EQ(client.logs.size(), 1u);
    EXPECT_EQ(client.logs[0].text, "setting timer resolution to 1234567ms");
    sim.on("DirectSoundCreate8").onCall(1).fails(static_cast<long long>(DSERR_BUFFERLOST));
    EXPECT_EQ(client.open(speaker).result, -228);
    expectLog(1, speaker, "unknown error: Buffer memory has been lost, and must be restored (0x88780096)");
    sim.system().messages[0x80070005] = L"Denied.";
    sim.on("DirectSoundEnumerateW").onCall(1).fails(static_cast<long long>(E_ACCESSDENIED));
    EXPECT_EQ(sim.exports().orvosoundbackend_isSupported(), -4);
    std::string line = "NOTSUPPORTED: Denied.";
    line.append(1, '\0').append(" (-2147024891) (0x80070005)");
    expectOutputLines({line});
    sim.on("QueryPerformanceFrequency").failsWithError(3'000'000'000);
    sim.expectLeft(Kind::comInitialization, 1);
    sim.advance(2000);
    expectErrorLines({"error during QueryPerformanceFrequency3000000000"});
    client.finalize();
}

SCENARIO(LogSinks, ClientChangesTheErrorNumber_FailureIsStillNamed,
         "The system's error number in a line is that of the failing call, whatever is called to write the line.") {
    sim.on("CreateWindowExW").onCall(1).failsWithError(1407);
    sim.on("timeEndPeriod").does([] { SetLastError(99); });
    EXPECT_EQ(client.initialize(), -8);
    EXPECT_EQ(client.backend, nullptr);
    expectErrorLines({"CreateWindow error 1407"});
}

SCENARIO(LogSinks, IdentifierNotConvertible_LineAndCode,
         "When a client's identifier cannot be converted, opening answers the converter's code: -6 with \"buffer too "
         "small\", -1 with the system's error; no log line is written.") {
    const Device& speaker = sim.playback("Speaker");
    sim.system().messages[1113] = L"No mapping.\r\n";
    client.initialize();
    client.logs.clear();
    sim.on("MultiByteToWideChar").onCall(1).failsWithError(ERROR_INSUFFICIENT_BUFFER);
    EXPECT_EQ(client.open(speaker).result, -6);
    sim.on("MultiByteToWideChar").onCall(1).failsWithError(1113);
    EXPECT_EQ(client.open(speaker).result, -1);
    // The line end of the system's message is not cut here, so that an empty line (a lone return) follows.
    EXPECT_EQ(sim.streams().error, "buffer too small\nerror 1113: No mapping.\r\n\n");
    EXPECT_TRUE(client.logs.empty());
    client.finalize();
}

SCENARIO(
    LogSinks, ErrorText_SignedNumberAndWordsInUtf8,
    "The text of a system error is its number in signed decimal and the system's words in UTF-8, however long.") {
    const Device& speaker = sim.playback("Speaker");
    client.initialize();
    sim.system().messages[0xFFFFFFFE] = L"Ger\u00E4t \u65E5";
    sim.on("MultiByteToWideChar").onCall(1).failsWithError(0xFFFFFFFE);
    EXPECT_EQ(client.open(speaker).result, -1);
    sim.system().messages[7] = std::wstring(2000, L'w');
    sim.on("MultiByteToWideChar").onCall(1).failsWithError(7);
    EXPECT_EQ(client.open(speaker).result, -1);
    expectErrorLines({"error -2: Ger\xC3\xA4t \xE6\x97\xA5", "error 7: " + std::string(2000, 'w')});
    client.finalize();
}

SCENARIO(LogSinks, ErrorWithoutWords_NumberIsToldNevertheless,
         "A system error without words is told by its number and a fixed text.") {
    const Device& speaker = sim.playback("Speaker");
    sim.system().messages[12345] = L"";
    client.initialize();
    sim.on("MultiByteToWideChar").onCall(1).failsWithError(12345);
    EXPECT_EQ(client.open(speaker).result, -1);
    const Texts lines = sim.errorLines();
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].substr(0, 13), "error 12345: ");
    EXPECT_GT(lines[0].size(), 13u);
    client.finalize();
}

SCENARIO(LogSinks, EveryLine_IsFlushed, "Each line on a standard stream ends with one newline and is flushed.") {
    sim.playback("Long").named(std::wstring(255, L'n'));
    sim.playback("Longer").named(std::wstring(256, L'n'));
    sim.playback("Speaker");
    sim.capture("Microphone");
    client.initialize();
    EXPECT_EQ(sim.streams().error, "buffer too small\nbuffer too small\n");
    EXPECT_GE(sim.streams().errorFlushes, 2u);
    const unsigned flushes = sim.streams().outFlushes;
    sim.on("DirectSoundEnumerateW").onCall(1).fails(static_cast<long long>(DSERR_BADFORMAT));
    EXPECT_EQ(sim.exports().orvosoundbackend_isSupported(), -4);
    EXPECT_EQ(sim.streams().out, "NOTSUPPORTED: The specified wave format is not supported (0x88780064)\n");
    EXPECT_EQ(sim.streams().outFlushes, flushes + 1);
    client.finalize();
}

SCENARIO(LogSinks, NoMemoryAroundALine_ProcessGoesOn,
         "Wherever memory runs out on the way to a line on standard error, also on a thread that has never written "
         "one, open answers a code and the process goes on.") {
    client.initialize();
    const std::string tooLong(300, 'x');
    unsigned failed = 0;
    for (unsigned n = 1; n < 100; ++n) {
        const Rule& rule = sim.on("malloc").onCall(n).maybe().fails();
        EXPECT_LT(client.open(1, tooLong).result, 0) << "allocation " << n;
        const bool hit = rule.hits() > 0;
        sim.script().clear();
        if (!hit)
            break;
        ++failed;
    }
    EXPECT_GT(failed, 2u);
    client.finalize();
}
