#include "Vorlandi/VorlandiCardReading/Trial.hpp"

#include "CoreServices/ReadObserver.hpp"
#include "Vorlandi/VorlandiCardReading/CardWatch.hpp"

namespace vorlandi {

Trial::Trial(InputUnit& unit) : HeldReports(room_, readObserver().call != nullptr), unit_(unit), keeping_(*this) {
    auto watch = std::make_unique<CardWatch>(std::move(unit.source()));
    watch_ = watch.get();
    unit.source() = std::move(watch);
}

Trial::~Trial() { unit_.source() = watch_->takeInner(); }

bool Trial::mayBegin() {
    unit_.atEnd();  // reads the first bytes
    return !watch_->hasSeenCard();
}

bool Trial::settle() {
    if (thrown_) std::rethrow_exception(thrown_);
    if (state_ == State::Open) {
        state_ = !unit_.failed() && watch_->isFreeOfCards() ? State::Passed : State::Failed;
        if (state_ == State::Passed) {
            deliver();
        } else {
            drop();
        }
    }
    return state_ == State::Passed;
}

void Trial::onFull() noexcept {
    try {
        settle();
    } catch (...) {
        thrown_ = std::current_exception();
        state_ = State::Failed;
        drop();
    }
}

}  // namespace vorlandi
