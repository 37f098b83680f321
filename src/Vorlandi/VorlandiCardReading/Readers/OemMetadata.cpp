#include "Vorlandi/VorlandiCardReading/Readers/OemMetadata.hpp"

#include <algorithm>

#include "CoreServices/NumberFields.hpp"
#include "Vorlandi/VorlandiCardReading/ReaderSupport.hpp"

namespace vorlandi {
namespace {

// ---- Keywords and values, in upper case; compared in any ----

constexpr std::string_view kHeaderKeys[] = {"CLASSIFICATION", "CREATION_DATE", "ORIGINATOR", "MESSAGE_ID"};

enum class Key { ObjectName, ObjectId, Center, Frame, FrameEpoch, TimeSystem, NotNeeded };

template <class Meaning>
struct Named {
    std::string_view name;
    Meaning meaning;
};

constexpr Named<Key> kKeys[] = {
    {"OBJECT_NAME", Key::ObjectName}, {"OBJECT_ID", Key::ObjectId},           {"CENTER_NAME", Key::Center},
    {"REF_FRAME", Key::Frame},        {"REF_FRAME_EPOCH", Key::FrameEpoch},   {"TIME_SYSTEM", Key::TimeSystem},
    {"START_TIME", Key::NotNeeded},   {"USEABLE_START_TIME", Key::NotNeeded}, {"USEABLE_STOP_TIME", Key::NotNeeded},
    {"STOP_TIME", Key::NotNeeded},    {"INTERPOLATION", Key::NotNeeded},      {"INTERPOLATION_DEGREE", Key::NotNeeded},
};

constexpr Named<bool> kCenters[] = {{"EARTH", true}};

constexpr Named<std::int32_t> kFrames[] = {
    {"EME2000", kJ2k},    {"J2000", kJ2k}, {"ICRF", kJ2k},        {"GCRF", kJ2k}, {"TEME", kEci},
    {"TEMEOFDATE", kEci}, {"EFG", kEfg},   {"FIXED_EARTH", kEcr}, {"ITRF", kEcr},  // with or without a year
};
constexpr std::string_view kFrameWithYear = "ITRF";

constexpr Named<TimeScale> kTimeSystems[] = {
    {"UTC", TimeScale::Utc}, {"TAI", TimeScale::Tai}, {"GPS", TimeScale::Gps}, {"TT", TimeScale::Tt}};

constexpr double kFirstVersion = 1.0, kLastVersion = 3.0;

template <class Meaning, std::size_t N>
std::optional<Meaning> meaningOf(const Named<Meaning> (&table)[N], std::string_view name) noexcept {
    const auto* const row =
        std::find_if(std::begin(table), std::end(table), [=](const auto& known) { return isWord(name, known.name); });
    return row != std::end(table) ? std::optional(row->meaning) : std::nullopt;
}

// "REF_FRAME TOD is not read; EME2000, ... and ITRF are."
template <class Meaning, std::size_t N>
MessageText notRead(std::string_view key, std::string_view value, const Named<Meaning> (&table)[N]) noexcept {
    MessageText text(key);
    if (value.empty()) {
        text << " is missing; ";
    } else {
        text << " " << value.substr(0, kShown) << " is not read; ";
    }
    for (std::size_t k = 0; k < N; ++k)
        text << (k == 0 ? "" : k + 1 < N ? ", " : " and ") << table[k].name;
    return text << (N == 1 ? " is." : " are.");
}

// ITRF, and ITRF97, ITRF-97, ITRF2014, ITRF-2014.
bool isFrameWithYear(std::string_view name) noexcept {
    if (!isWord(name.substr(0, kFrameWithYear.size()), kFrameWithYear)) return false;
    std::string_view year = name.substr(kFrameWithYear.size());
    if (year.starts_with('-')) {
        year.remove_prefix(1);
    } else {
        year = stripped(year);
    }
    return (year.size() == 2 || year.size() == 4) && std::all_of(year.begin(), year.end(), isDigit);
}

}  // namespace

OemEntry oemEntry(std::string_view text) noexcept {
    const std::string_view key = text.substr(0, text.find_first_of(" \t="));
    const std::string_view rest = stripped(text.substr(key.size()));
    if (!rest.starts_with('=')) return {key, std::nullopt};
    return {key, stripped(rest.substr(1))};
}

bool isOemHeaderKey(std::string_view key) noexcept {
    return std::any_of(std::begin(kHeaderKeys), std::end(kHeaderKeys),
                       [=](std::string_view known) { return isWord(key, known); });
}

bool saysWhatStatesAre(const OemEntry& entry) noexcept {
    const auto key = meaningOf(kKeys, entry.key);
    return key && *key != Key::NotNeeded && entry.value;
}

MessageText problemOfOemVersion(const OemEntry& version) noexcept {
    const std::string_view value = version.value.value_or("");
    const double number = realOf(value).value_or(0.0);
    if (number >= kFirstVersion && number <= kLastVersion) return {};
    return MessageText(version.key) << " " << value.substr(0, 40) << " is not read; 1.0 to 3.0 are.";
}

std::optional<std::int32_t> oemCoordSys(std::string_view frame) noexcept {
    return isFrameWithYear(frame) ? kEcr : meaningOf(kFrames, frame);
}

bool OemMetadata::take(const OemEntry& entry) noexcept {
    const auto key = meaningOf(kKeys, entry.key);
    if (!key || !entry.value) return false;
    const std::string_view value = *entry.value;
    switch (*key) {
        case Key::ObjectName:
            object_.setName(value);
            break;
        case Key::ObjectId:
            object_.setId(value);
            break;
        case Key::Center:
            hasCenter_ = meaningOf(kCenters, value).has_value();
            if (!hasCenter_) problem_ = notRead(entry.key, value, kCenters);
            break;
        case Key::Frame:
            coordSys_ = oemCoordSys(value);
            if (!coordSys_) problem_ = notRead(entry.key, value, kFrames);
            break;
        case Key::FrameEpoch:
            hasFrameEpoch_ = !value.empty();
            break;
        case Key::TimeSystem:
            timeScale_ = meaningOf(kTimeSystems, value);
            if (!timeScale_) problem_ = notRead(entry.key, value, kTimeSystems);
            break;
        case Key::NotNeeded:
            break;
    }
    return true;
}

void OemMetadata::complete() noexcept {
    if (!hasCenter_) {
        problem_ = notRead("CENTER_NAME", "", kCenters);
    } else if (!coordSys_) {
        problem_ = notRead("REF_FRAME", "", kFrames);
    } else if (!timeScale_) {
        problem_ = notRead("TIME_SYSTEM", "", kTimeSystems);
    } else if (coordSys_ == kEci && hasFrameEpoch_) {
        problem_ = "REF_FRAME TEME at a REF_FRAME_EPOCH is not read; TEME of date is.";
    }
}

std::int32_t OemObject::satNum() const noexcept {
    const std::int32_t number = numberOfDigits(id_);
    return number >= 0 ? number : numberOfDigits(name_);
}

bool OemObject::differsFrom(const OemObject& other) const noexcept {
    const auto bothSay = [](std::string_view a, std::string_view b) { return !a.empty() && !b.empty(); };
    if (bothSay(id_, other.id_)) return !isWord(id_, other.id_);
    return !bothSay(name_, other.name_) || !isWord(name_, other.name_);
}

}  // namespace vorlandi
