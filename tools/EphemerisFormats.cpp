#include "EphemerisFormats.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <fstream>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "writers/Times.hpp"

namespace vorlandi::tools {
namespace {

using writers::Frame;

constexpr std::int32_t kFiveDigits = 99999;
constexpr std::int32_t kNineDigits = 999999999;

// clang-format off
constexpr std::array<EphemerisFormat, 20> kFormats{{
    {"UNIVERSAL", "_universal.txt", kNineDigits, Frame::Hcsrl, false, false, false, writers::writeUniversal},
    // Another frame than in the fixed columns, so that both files can be loaded together.
    {"UNIVERSAL_CSV", "_universal_csv.txt", kNineDigits, Frame::Wptrl, false, false, false, writers::writeUniversalCsv},
    {"STK", "_stk.e", kFiveDigits, Frame::Eci, false, false, false, writers::writeStk},
    {"V31", "_v31.txt", kFiveDigits, Frame::Eci, false, false, false, writers::writeV31,
     "numerical integration, central term and J2"},
    {"ECR", "_ecr.txt", kFiveDigits, Frame::Ecr, false, false, false, writers::writeEcr},
    {"ECR_POSITIONS", "_ecr_positions.txt", kFiveDigits, Frame::Ecr, false, true, false, writers::writeEcrPositions},
    {"ITC", "_itc.txt", kFiveDigits, Frame::Eci, true, false, false, writers::writeItc},
    {"ITC_WOCOV", "_itc_wocov.txt", kFiveDigits, Frame::Eci, false, true, false, writers::writeItc},
    {"DCE_BINARY", ".dce", kNineDigits, Frame::Eci, false, false, false, writers::writeDceBinary},
    {"DCE_TEXT", "_dce.txt", kNineDigits, Frame::Eci, false, false, false, writers::writeDceText},
    {"LAUNCH", "_launch.txt", kNineDigits, Frame::Ecr, false, false, false, writers::writeLaunch},
    {"EELV", "_eelv.txt", kNineDigits, Frame::Eci, false, false, false, writers::writeEelv},
    {"LCH", "_lch.txt", kFiveDigits, Frame::Eci, false, false, false, writers::writeLch},
    {"OASYS", "_oasys.txt", kNineDigits, Frame::J2k, false, false, false, writers::writeOasys},
    {"OWNER", "_owner.txt", kFiveDigits, Frame::J2k, false, false, false, writers::writeOwner},
    {"J2K", "_j2k.txt", kFiveDigits, Frame::J2k, false, false, false, writers::writeJ2k},
    {"VECTOR", "_vector.txt", kFiveDigits, Frame::Eci, false, false, false, writers::writeVector},
    {"SIMOBS", "_simobs.txt", kFiveDigits, Frame::Eci, false, false, false, writers::writeSimObs},
    {"OEM", "_oem.txt", kNineDigits, Frame::J2k, false, false, true, writers::writeOem},
    {"MODIFIED_ITC", "_modified_itc.txt", kNineDigits, Frame::J2k, true, false, true, writers::writeModifiedItc},
}};
// clang-format on

std::runtime_error failure(const std::filesystem::path& path) {
    const std::error_code reason(errno, std::generic_category());
    return std::runtime_error(fmt::format("cannot write {}: {}", path.string(), reason.message()));
}

}  // namespace

void EphemerisFormat::write(Ephemeris ephemeris, std::ostream& stream) const {
    ephemeris.frame = frame;
    if (!withCovariance) ephemeris.covariances.clear();
    const bool isOem = writer == writers::writeOem;
    writers::Options options;
    options.source = source;
    options.originator = options.objectName = "EXAMPLE";
    options.oemVersion = "2.0";
    const double first = ephemeris.times.front();
    options.created = isOem ? writers::isoText26(first) : writers::isoText19(first);
    writers::Lines out = linesOf(stream);
    if (isOem) writers::beginOem(options, out);
    writer(ephemeris, options, out);
    out.handOn();
}

std::span<const EphemerisFormat> ephemerisFormats() { return kFormats; }

const EphemerisFormat* findEphemerisFormat(std::string_view name) {
    const auto found = std::ranges::find(kFormats, name, &EphemerisFormat::name);
    return found == kFormats.end() ? nullptr : &*found;
}

std::string ephemerisFileName(const EphemerisFormat& format, std::int32_t satelliteNumber) {
    return fmt::format("{:05}{}", satelliteNumber, format.fileSuffix);
}

writers::Lines linesOf(std::ostream& stream) {
    return writers::Lines(
        [&stream](std::string_view piece) { stream.write(piece.data(), static_cast<std::streamsize>(piece.size())); },
        writers::Style::Example);
}

void writeCards(std::string_view title, std::span<const CardGroup> groups, std::ostream& stream) {
    writers::Lines out = linesOf(stream);
    out.line("* {}", title);
    for (const auto& group : groups) {
        if (!group.tag.empty()) out.line("#VORLANDI = {}", group.tag);
        for (const auto& name : group.fileNames)
            out.line("EPHFIL = {}", name);
    }
    out.handOn();
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
