#include "Vorlandi/VorlandiCardReading/CardPass.hpp"

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "CoreServices/TraceLog.hpp"
#include "Vorlandi/VorlandiCardReading/EphemerisPass.hpp"
#include "Vorlandi/VorlandiCardReading/FormatDetection.hpp"

namespace vorlandi {
namespace {

// A fault of the system, which may be gone at the next try, and not one of the name or the file.
constexpr bool isShortage(int error) noexcept {
    return error == EMFILE || error == ENFILE || error == ENOMEM || error == EIO;
}

constexpr int kNotToItsEnd = -1;

std::string_view reasonOf(int error) noexcept {
    return error == kNotToItsEnd ? "it could not be read to its end" : ::strerrordesc_np(error);
}

}  // namespace

std::int64_t CardPass::run() {
    std::string_view line;
    ReadOutcome outcome = ReadOutcome::Success;
    while ((outcome = unit_.readLine(kCardColumns, line)) == ReadOutcome::Success) {
        const std::int32_t code = mayBeCard(line) ? vorlancardtype(line) : kUnknownFormat;
        if (code == kTagCard) tag_ = getinputfilename(line);
        if (code == kInputFileCard) follow(line);
        unit_.skipLinesWithout(kCardMarks, readObserver().call != nullptr || load_.request.rules.arePractical());
    }
    return outcome == ReadOutcome::Error ? unit_.lineNumber() + 1 : 0;
}

std::optional<CardPass::Identity> CardPass::identityOf(std::string_view name) {
    struct stat status {};
    if (::stat(std::string(name).c_str(), &status) != 0) return std::nullopt;
    return Identity(status.st_dev, status.st_ino, status.st_size, status.st_mtim.tv_sec, status.st_mtim.tv_nsec);
}

void CardPass::follow(std::string_view card) {
    const PaddedText<512> written(getinputfilename(card));
    if (written.blank()) return;
    foundCard_ = true;
    if (!load_.request.followsCards) {
        return observeRead(VORLAN_READ_MISSING, file_.name, unit_.lineNumber(), written.view());
    }
    const PaddedText<512> name(load_.has(Rule::NamesBesideCard) ? beside(written.view()) : std::string(written.view()));
    if (isKnownAsEmpty(name.view())) {
        if (!load_.request.rules.arePractical()) traceloginfo(summaryOf(Vorlanrecord{}));
        return;
    }
    if (const int error = read(name.view()); error != 0) reportMissing(written.view(), error);
}

// A relative name in the card file's directory if there is such a file, else the name as it is.
std::string CardPass::beside(std::string_view name) const {
    std::string path(file_.name.substr(0, file_.name.rfind('/') + 1));
    if (path.empty() || name.starts_with('/')) return std::string(name);
    path += name;
    return ::access(path.c_str(), F_OK) == 0 ? path : std::string(name);
}

// Reads a file. Returns 0, the errno if it can't be opened, or kNotToItsEnd. Only regular files are opened: a card must
// not make the library wait for a pipe or read a device without end.
int CardPass::read(std::string_view name) {
    const InputFile file{name};
    InputUnit unit;
    if (const int error = file.open(unit, FileKind::Regular); error != 0) return error;
    EphemerisPass pass(unit, file, tag_, load_);
    const std::int32_t status = pass.run();
    if (pass.readFailed()) return kNotToItsEnd;
    if (status != kSuccess && load_.request.rules.arePractical()) load_.miss();
    if (pass.foundBlock()) return 0;
    if (load_.has(Rule::UnrecognisedFileFails)) {
        reportUnrecognised(name, pass.foreignFormat());
        load_.miss();
    }
    if (const auto identity = identityOf(name)) empty_.insert(*identity);
    return 0;
}

// Was this file already read without finding a block? Then it need not be read again. A name that makes it a binary
// file is different.
bool CardPass::isKnownAsEmpty(std::string_view name) const {
    if (empty_.empty() || fileisdotdce(name)) return false;
    const auto identity = identityOf(name);
    return identity && empty_.contains(*identity);
}

// By the fixed rules there is a message only if the system is short of something, such as descriptors.
void CardPass::reportMissing(std::string_view name, int error) {
    if (load_.has(Rule::MissingFileFails)) {
        tracelogerror(MessageText(kPracticalLoader) << ": " << file_.name << ":" << unit_.lineNumber() << ": " << name
                                                    << ": " << reasonOf(error) << ".");
        load_.miss();
    } else if (isShortage(error)) {
        tracelogerror(MessageText("*** readvorlansfrfileunit: ") << name << ": " << reasonOf(error) << ". ***");
    }
    observeRead(VORLAN_READ_MISSING, file_.name, unit_.lineNumber(), name);
}

void reportUnrecognised(std::string_view fileName, std::string_view foreign) noexcept {
    MessageText message(kPracticalLoader);
    message << ": No ephemeris format recognised in " << fileName << ".";
    if (!foreign.empty()) message << " It seems to hold " << foreign << ".";
    tracelogerror(message);
}

}  // namespace vorlandi
