// The card pass over a file: finds the cards that name ephemeris files, and reads those files in an ephemeris pass
// each, one level deep.
#pragma once

#include <sys/stat.h>

#include <cstdint>
#include <optional>
#include <set>
#include <string_view>
#include <tuple>

#include "Vorlandi/VorlandiCardReading/LoadRequest.hpp"

namespace vorlandi {

class CardPass {
public:
    // `tag` receives the text of the last tag card if no record has taken it.
    CardPass(InputUnit& unit, const InputFile& file, InputTag& tag, Load& load)
        : unit_(unit), file_(file), tag_(tag), load_(load) {}

    // Returns the number of the line that could not be read, 0 if there is none. It has not been reported yet.
    std::int64_t run();

    // Does any card name a file?
    bool foundCard() const noexcept { return foundCard_; }

private:
    // Device, inode, size and time of the last change, which identify an unchanged file.
    using Identity = std::tuple<dev_t, ino_t, off_t, time_t, long>;
    static std::optional<Identity> identityOf(std::string_view name);

    void follow(std::string_view card);
    std::string beside(std::string_view name) const;
    int read(std::string_view name);
    bool isKnownAsEmpty(std::string_view name) const;
    void reportMissing(std::string_view name, int error);

    InputUnit& unit_;
    const InputFile& file_;
    InputTag& tag_;
    Load& load_;
    std::set<Identity> empty_;  // files without a block: a card file may name itself on every line
    bool foundCard_ = false;
};

// Reports that a file has no format that is read; `foreign` is the name of the one that it seems to have, or empty.
void reportUnrecognised(std::string_view fileName, std::string_view foreign) noexcept;

}  // namespace vorlandi
