// A trial: reads a file on the assumption that none of its lines is a card, so that it need not be read for its cards
// first. The results of files on cards are stored and reported before the file's own. So until it is known that there
// are no cards, reports are kept back and nothing is stored.
#pragma once

#include <array>
#include <cstdint>
#include <exception>

#include "CoreServices/HeldReports.hpp"
#include "CoreServices/InputUnits.hpp"

namespace vorlandi {

class CardWatch;

class Trial final : private HeldReports {
public:
    // Requires a unit at its first line whose source can go to any byte. The unit ends early where a card is seen.
    explicit Trial(InputUnit& unit);
    ~Trial();
    Trial(const Trial&) = delete;
    Trial& operator=(const Trial&) = delete;

    // Can the trial begin? Not if the first lines have a card.
    bool mayBegin();

    // False if the file has a card or can't be read to its end: then nothing is stored or reported. Else reports that
    // were kept back are delivered, and the rest of the file is read as usual.
    bool settle();

private:
    enum class State { Open, Passed, Failed };

    void onFull() noexcept override;

    InputUnit& unit_;
    CardWatch* watch_;  // the unit's source
    State state_ = State::Open;
    std::exception_ptr thrown_;  // by an observer, where it could not leave at once
    std::array<char, 16384> room_;
    OnThisThread keeping_;
};

}  // namespace vorlandi
