#include "commands/doctor_notes.h"

#include <algorithm>
#include <array>

namespace soundcheck {
namespace {

struct Note {
    std::string_view command;
    std::string_view passed;
    std::string_view failed;
};

constexpr std::array<Note, 8> kNotes = {
    {{"info", "The plug-in loads and can run here.",
      "The plug-in does not load, or cannot run here. Put directsound_win64.dll beside soundcheck.exe, or name it "
      "with "
      "--dll; on a server edition of Windows, turn the audio service on."},
     {"list", "Every device opens.",
      "A device does not open. Another program may use it alone, or it was unplugged. Close other programs that play "
      "or record, plug it in again, and look at it in the system's sound settings."},
     {"play",
      "The device takes sound. When nothing is heard all the same, look at its volume, its mute switch, and "
      "where the loudspeakers are plugged in.",
      "The device does not take sound as it should. Close other programs that use it, plug it in again, and try "
      "another driver."},
     {"record", "The device delivers sound.",
      "The device does not deliver sound as it should. Close other programs that use it, plug it in again, and try "
      "another driver."},
     {"loop", "What is played comes back whole.",
      "What is played does not come back whole: sound is lost, late or spoilt on the way. A busy computer does that, "
      "power saving, or a wireless device; sound effects of the driver do it, too. Turn them off and try again."},
     {"echo", "Each recorded block comes with what was played at its time, so echo can be cancelled.",
      "Recorded blocks do not come with what was played at their time, so the other side hears its own echo. Use "
      "headphones until it is mended."},
     {"soak", "All devices run beside each other.",
      "Devices do not run well beside each other: blocks come late or not at all. Close busy programs, use another "
      "USB port, and try fewer devices."},
     {"churn", "The devices bear being opened and closed in any order.",
      "A device does not bear being opened and closed in quick succession. Wait a second before it is opened "
      "again."}}};

} // namespace

std::string doctorNote(std::string_view command, Verdict verdict, const Json& section) {
    const auto note =
        std::find_if(kNotes.begin(), kNotes.end(), [&](const Note& known) { return known.command == command; });
    if (verdict == Verdict::nothingChecked || note == kNotes.end())
        return {};
    std::string text(verdict == Verdict::passed ? note->passed : note->failed);
    if (command == "record" && verdict == Verdict::passed && section.is_object() && section.contains("peak_db") &&
        section["peak_db"] <= kSilentPeakDecibels)
        text = "The device delivers, but only silence. When it is a microphone: it may be muted at itself or in the "
               "system's sound settings, or the privacy settings keep programs from it.";
    if (command == "churn" && section.is_object() && section.value("late_events", 0) != 0)
        text += " Some calls were answered with -232 or -233 and went well when they were tried again. That is "
                "Wine's: its driver sets the event of a stream once more after it was closed, which can wake another "
                "device. A client there opens the device again.";
    return text;
}

} // namespace soundcheck
