// What enumDevices hands to the client: order, identifiers, records, skipped reports.
#include "discovery.h"

#include <cstring>

namespace scenario {
namespace {

GUID guid(DWORD first, WORD second = 0, WORD third = 0) {
    return {first, second, third, {0, 0, 0, 0, 0, 0, 0, 0}};
}

GUID guidOfBytes(std::size_t place, unsigned char value) {
    GUID made = guid(7, 7, 7);
    made.Data4[place] = value;
    return made;
}

// The bytes of a record after the text and its end.
bool restIsZero(const char (&text)[248], std::size_t length) {
    for (std::size_t i = length; i < sizeof(text); ++i) {
        if (text[i] != 0)
            return false;
    }
    return true;
}

} // namespace
} // namespace scenario

SCENARIO(Enumeration, FirstGuidFieldDiffers_OrderIsThatOfUnsignedNumbers,
         "Devices are listed by the first field of their GUIDs, read as an unsigned number, whatever their names and "
         "the order of the system.") {
    Device& fourth = sim.playback("Fourth").named(L"A").withGuid(guid(0x80000000));
    Device& second = sim.playback("Second").named(L"C").withGuid(guid(0x000000FF));
    Device& third = sim.playback("Third").named(L"B").withGuid(guid(0x01000000));
    Device& first = sim.playback("First").named(L"D").withGuid(guid(0x00000001, 0xFFFF));
    sim.capture("Microphone");
    client.initialize();
    EXPECT_EQ(ids(client.list(Direction::playback)), (Texts{first.id(), second.id(), third.id(), fourth.id()}));
    client.finalize();
}

SCENARIO(Enumeration, MiddleGuidFieldsDiffer_SecondFieldCountsBeforeThird,
         "Among GUIDs with the same first field the second and then the third, read as unsigned numbers, decide.") {
    Device& fifth = sim.capture("Fifth").withGuid(guid(7, 0x8000, 0));
    Device& fourth = sim.capture("Fourth").withGuid(guid(7, 0x0100, 0));
    Device& third = sim.capture("Third").withGuid(guid(7, 0x00FF, 0x8000));
    Device& second = sim.capture("Second").withGuid(guid(7, 0x00FF, 0x0100));
    Device& first = sim.capture("First").withGuid(guid(7, 0x00FF, 0x00FE));
    sim.playback("Speaker");
    client.initialize();
    EXPECT_EQ(ids(client.list(Direction::capture)),
              (Texts{first.id(), second.id(), third.id(), fourth.id(), fifth.id()}));
    client.finalize();
}

SCENARIO(Enumeration, LastGuidBytesDiffer_TheyCountOneByOne,
         "Among GUIDs that differ in their last eight bytes only, the first byte that differs decides, unsigned.") {
    Texts expected(16);
    for (std::size_t place = 0; place < 8; ++place) {
        // Made in falling order: a byte further ahead weighs more, and 0x80 more than 0x7F.
        expected[15 - 2 * place] = sim.playback("High").withGuid(guidOfBytes(place, 0x80)).id();
        expected[14 - 2 * place] = sim.playback("Low").withGuid(guidOfBytes(place, 0x7F)).id();
    }
    sim.capture("Microphone");
    client.initialize();
    EXPECT_EQ(ids(client.list(Direction::playback)), expected);
    client.finalize();
}

SCENARIO(Enumeration, Identifier_IsBracedUpperCaseGuidText,
         "The identifier of a device is its GUID in braces, in upper-case hexadecimal digits, 38 characters long.") {
    sim.playback("Speaker").withGuid({0xABCDEF01, 0x23ab, 0xcdef, {0x0f, 0x1e, 0x2d, 0x3c, 0x4b, 0x5a, 0x69, 0x78}});
    sim.capture("Microphone");
    client.initialize();
    const std::vector<ListedDevice> devices = client.list(Direction::playback);
    EXPECT_EQ(ids(devices), Texts{"{ABCDEF01-23AB-CDEF-0F1E-2D3C4B5A6978}"});
    ASSERT_EQ(devices.size(), 1u);
    EXPECT_EQ(devices[0].record.idLength, 38);
    client.finalize();
}

SCENARIO(Enumeration, Record_HoldsBothTextsAndZerosElsewhere,
         "A record holds both lengths in front, the identifier at 8 and the name at 256, and zeros everywhere else, "
         "also when the device before it had a longer name.") {
    sim.playback("A").named(std::wstring(200, L'x'));
    sim.playback("B").named(L"B");
    sim.capture("Microphone");
    client.initialize();
    const std::vector<ListedDevice> devices = client.list(Direction::playback);
    ASSERT_EQ(devices.size(), 2u);
    for (const ListedDevice& device : devices) {
        unsigned char bytes[504];
        static_assert(sizeof(bytes) == sizeof(DeviceInfoRecord));
        std::memcpy(bytes, &device.record, sizeof(bytes));
        EXPECT_EQ(bytes[0], 38);
        EXPECT_EQ(bytes[1], device.name.size());
        for (std::size_t offset = 2; offset < 8; ++offset)
            EXPECT_EQ(bytes[offset], 0) << "at offset " << offset;
        EXPECT_EQ(bytes[8], '{');
        EXPECT_EQ(bytes[8 + 37], '}');
        EXPECT_TRUE(restIsZero(device.record.id, 38));
        EXPECT_EQ(bytes[256], device.name[0]);
        EXPECT_TRUE(restIsZero(device.record.name, device.name.size()));
    }
    EXPECT_EQ(devices[1].name, "B");
    client.finalize();
}

SCENARIO(Enumeration, ClientWritesIntoTheRecord_NextOneIsWhole,
         "What a client writes into the record that it is handed does not show in the next one.") {
    sim.playback("A").named(L"A");
    sim.playback("B").named(L"B");
    sim.capture("Microphone");
    client.initialize();
    static std::vector<DeviceInfoRecord> seen;
    seen.clear();
    const EnumDevicesCallback scribble = [](const DeviceInfoRecord* record, void*) -> std::int32_t {
        seen.push_back(*record);
        std::memset(const_cast<DeviceInfoRecord*>(record), 0xEE, sizeof(*record));
        return 0;
    };
    EXPECT_EQ(sim.exports().orvosoundbackend_enumDevices(client.backend, 1, scribble, nullptr), 0);
    const std::vector<ListedDevice> listed = client.list(Direction::playback);
    ASSERT_EQ(seen.size(), 2u);
    ASSERT_EQ(listed.size(), 2u);
    for (std::size_t i = 0; i < 2; ++i)
        EXPECT_EQ(std::memcmp(&seen[i], &listed[i].record, sizeof(DeviceInfoRecord)), 0);
    client.finalize();
}

SCENARIO(Enumeration, NamesUpTo254Bytes_AreCutAfter247,
         "A name arrives with at most 247 bytes: names of 0, 246 and 247 bytes arrive whole, names of 248 to 254 "
         "bytes are cut.") {
    for (const std::size_t length : {0u, 246u, 247u, 248u, 254u})
        sim.playback("Speaker").named(std::wstring(length, L'n'));
    sim.capture("Microphone");
    client.initialize();
    const std::vector<ListedDevice> devices = client.list(Direction::playback);
    EXPECT_EQ(nameLengths(devices), (std::vector<unsigned>{0, 246, 247, 247, 247}));
    EXPECT_EQ(names(devices), (Texts{"", std::string(246, 'n'), std::string(247, 'n'), std::string(247, 'n'),
                                     std::string(247, 'n')}));
    expectErrorLines({});
    client.finalize();
}

SCENARIO(Enumeration, NamesOf255BytesAndMore_AreSkippedWithALine,
         "A device whose name takes 255 bytes or more is not listed; \"buffer too small\" is written for each.") {
    Device& listed = sim.playback("Listed");
    sim.playback("At the limit").named(std::wstring(255, L'n'));
    sim.playback("Over it").named(std::wstring(300, L'n'));
    sim.capture("Microphone");
    client.initialize();
    EXPECT_EQ(ids(client.list(Direction::playback)), Texts{listed.id()});
    expectErrorLines({"buffer too small", "buffer too small"});
    client.finalize();
}

SCENARIO(Enumeration, MultiByteNames_AreMeasuredAndCutInBytes,
         "Names are measured in UTF-8 bytes and cut after 247 of them, even inside a character.") {
    const std::string half = "\xC3";
    std::string twoBytes;
    for (int i = 0; i < 123; ++i)
        twoBytes += "\xC3\xA9";
    sim.playback("Whole").named(L"Kopfh\u00F6rer \u65E5\u672C");
    sim.playback("254 bytes").named(std::wstring(127, L'\u00E9'));
    sim.playback("255 bytes").named(std::wstring(85, L'\u65E5'));
    sim.playback("248 bytes").named(std::wstring(246, L'n') + L"\u00E9");
    sim.capture("Microphone");
    client.initialize();
    const std::vector<ListedDevice> devices = client.list(Direction::playback);
    EXPECT_EQ(names(devices),
              (Texts{"Kopfh\xC3\xB6rer \xE6\x97\xA5\xE6\x9C\xAC", twoBytes + half, std::string(246, 'n') + half}));
    EXPECT_EQ(nameLengths(devices), (std::vector<unsigned>{17, 247, 247}));
    expectErrorLines({"buffer too small"});
    client.finalize();
}

SCENARIO(Enumeration, ReportsWithoutGuidOrDescription_AreSkipped,
         "Reports without a GUID and reports without a description are not listed; an empty description is one.") {
    Device& first = sim.playback("First").named(L"");
    sim.playback("No description").withoutName();
    sim.playback("No GUID").withoutGuid();
    Device& last = sim.playback("Last");
    sim.capture("Microphone");
    client.initialize();
    EXPECT_EQ(ids(client.list(Direction::playback)), (Texts{first.id(), last.id()}));
    expectErrorLines({});
    client.finalize();
}

SCENARIO(Enumeration, DuplicateGuid_FirstReportWins, "Of two reports with the same GUID only the first is listed.") {
    Device& first = sim.capture("First").named(L"the first");
    sim.capture("Second").named(L"the second").withGuid(first.guid());
    sim.playback("Speaker");
    client.initialize();
    EXPECT_EQ(names(client.list(Direction::capture)), Texts{"the first"});
    client.finalize();
}

SCENARIO(Enumeration, SameGuidInBothDirections_StaysTwoDevices,
         "The lists of the two directions know nothing of each other: the same GUID may stand in both.") {
    Device& speaker = sim.playback("Headset").named(L"speaker");
    sim.capture("Headset microphone").named(L"microphone").withGuid(speaker.guid());
    client.initialize();
    EXPECT_EQ(names(client.list(Direction::playback)), Texts{"speaker"});
    EXPECT_EQ(names(client.list(Direction::capture)), Texts{"microphone"});
    client.finalize();
}

SCENARIO(Enumeration, NoDevices_AnswersZeroWithoutACall,
         "On a system without devices enumeration succeeds and calls nothing.") {
    client.initialize();
    for (const Direction direction : {Direction::playback, Direction::capture})
        EXPECT_TRUE(client.list(direction).empty()); // list() reports a result other than 0
    client.finalize();
}

SCENARIO(Enumeration, OnlyThePrimaryEntry_AnswersZeroWithoutACall,
         "On a system that reports the primary-device entry only, enumeration succeeds and calls nothing.") {
    sim.playback("Nameless").withoutGuid();
    sim.capture("Microphone");
    client.initialize();
    EXPECT_TRUE(client.list(Direction::playback).empty());
    EXPECT_GT(sim.count("DirectSoundEnumerateW"), 0u);
    client.finalize();
}

SCENARIO(Enumeration, Listing_AsksTheSystemNothing,
         "Enumeration answers from the monitor's list and never asks DirectSound itself.") {
    Device& speaker = sim.playback("Speaker");
    sim.capture("Microphone");
    client.initialize();
    Device& late = sim.playback("Late");
    const unsigned asked = sim.count("DirectSoundEnumerateW");
    EXPECT_EQ(ids(client.list(Direction::playback)), Texts{speaker.id()});
    EXPECT_EQ(sim.count("DirectSoundEnumerateW"), asked);
    sim.advance(kUntilRescan);
    EXPECT_EQ(ids(client.list(Direction::playback)), (Texts{speaker.id(), late.id()}));
    client.finalize();
}
