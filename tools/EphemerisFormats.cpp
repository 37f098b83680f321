// The one list of formats, and the files that hold them.
#include <algorithm>
#include <array>
#include <cerrno>
#include <fstream>
#include <stdexcept>
#include <system_error>

#include "EphemerisWriters.hpp"
#include "WriterSupport.hpp"

namespace vorlandi::tools {
namespace {

constexpr std::int32_t kFiveDigits = 99999;
constexpr std::int32_t kNineDigits = 999999999;

constexpr std::array<EphemerisFormat, 20> kFormats{{
    {"UNIVERSAL", "_universal.txt", kNineDigits, false, false, writeUniversal},
    {"UNIVERSAL_CSV", "_universal_csv.txt", kNineDigits, false, false, writeUniversalCsv},
    {"STK", "_stk.e", kFiveDigits, false, false, writeStk},
    {"V31", "_v31.txt", kFiveDigits, false, false, writeV31},
    {"ECR", "_ecr.txt", kFiveDigits, false, false, writeEcr},
    {"ECR_POSITIONS", "_ecr_positions.txt", kFiveDigits, true, false, writeEcrPositions},
    {"ITC", "_itc.txt", kFiveDigits, false, false, writeItc},
    {"ITC_WOCOV", "_itc_wocov.txt", kFiveDigits, true, false, writeItcWithoutCovariance},
    {"DCE_BINARY", ".dce", kNineDigits, false, false, writeDceBinary},
    {"DCE_TEXT", "_dce.txt", kNineDigits, false, false, writeDceText},
    {"LAUNCH", "_launch.txt", kNineDigits, false, false, writeLaunch},
    {"EELV", "_eelv.txt", kNineDigits, false, false, writeEelv},
    {"LCH", "_lch.txt", kFiveDigits, false, false, writeLch},
    {"OASYS", "_oasys.txt", kNineDigits, false, false, writeOasys},
    {"OWNER", "_owner.txt", kFiveDigits, false, false, writeOwner},
    {"J2K", "_j2k.txt", kFiveDigits, false, false, writeJ2k},
    {"VECTOR", "_vector.txt", kFiveDigits, false, false, writeVector},
    {"SIMOBS", "_simobs.txt", kFiveDigits, false, false, writeSimObs},
    {"OEM", "_oem.txt", kNineDigits, false, true, writeOem},
    {"MODIFIED_ITC", "_modified_itc.txt", kNineDigits, false, true, writeModifiedItc},
}};

std::runtime_error failure(const std::filesystem::path& path) {
    const std::error_code reason(errno, std::generic_category());
    return std::runtime_error(fmt::format("cannot write {}: {}", path.string(), reason.message()));
}

}  // namespace

std::span<const EphemerisFormat> ephemerisFormats() { return kFormats; }

const EphemerisFormat* findEphemerisFormat(std::string_view name) {
    const auto found = std::ranges::find(kFormats, name, &EphemerisFormat::name);
    return found == kFormats.end() ? nullptr : &*found;
}

std::string ephemerisFileName(const EphemerisFormat& format, std::int32_t satelliteNumber) {
    return fmt::format("{:05}{}", satelliteNumber, format.fileSuffix);
}

void writeCards(std::string_view title, std::span<const CardGroup> groups, std::ostream& stream) {
    LineOutput out(stream);
    out.line("* {}", title);
    for (const auto& group : groups) {
        if (!group.tag.empty()) out.line("#VORLANDI = {}", group.tag);
        for (const auto& name : group.fileNames)
            out.line("EPHFIL = {}", name);
    }
}

void writeFile(const std::filesystem::path& path, const std::function<void(std::ostream&)>& writer) {
    errno = 0;
    std::ofstream stream(path, std::ios::binary | std::ios::trunc);
    if (!stream) throw failure(path);
    writer(stream);
    stream.close();
    if (!stream) throw failure(path);
}

}  // namespace vorlandi::tools
