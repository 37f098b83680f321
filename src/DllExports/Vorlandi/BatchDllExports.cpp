// The exported functions of vorlandi/vorlandi.h that return many answers at once.
//
// Each answer comes from the code of a single query. What a batch saves is the lookup of the record
// and, between requests to the same window, the part of the kernel that only depends on its nodes.
#include <array>
#include <optional>
#include <span>

#include "CoreServices/TraceLog.hpp"
#include "DllExports/DllDoor.hpp"
#include "DllExports/Vorlandi/VorlandiDllVarsUtils.hpp"
#include "vorlandi/vorlandi.h"

using namespace vorlandi;

namespace {

// The store can be changed by others after this many answers.
constexpr std::int64_t kAnswersPerEntry = 4096;

// A request's points are prefetched this many requests ahead: memory answers while those are calculated.
constexpr std::int64_t kAhead = 8;

// The outputs of a batch, filled one answer at a time, and what has gone wrong first.
class Answers {
public:
    Answers(double (*posVel)[6], std::int32_t* revNums, double (*covMtx)[6][6], std::int32_t* errCodes) noexcept
        : posVel_(posVel), revNums_(revNums), covMtx_(covMtx), errCodes_(errCodes) {}

    WithCovariance covariance() const noexcept { return covMtx_ != nullptr ? WithCovariance::Yes : WithCovariance::No; }

    void succeed(std::int64_t at, const Vorlanpoint& point) noexcept { put(at, point, kSuccess); }

    // The state of a record at a time.
    void answer(std::int64_t at, const Vorlanrecord& record, PointInterpolator& interpolator, double ds50UTC) noexcept {
        const bool found = stateAt(record, interpolator, ds50UTC, point_, message_, covariance()) == kSuccess;
        found ? succeed(at, point_) : fail(at, message_);
    }

    void fail(std::int64_t at, std::string_view why) noexcept {
        if (!firstFailure_) firstFailure_ = why;
        put(at, Vorlanpoint{}, kFailure);
    }

    // Every answer fails without a message, for an argument that cannot be a request.
    std::int32_t refuse(std::int64_t n) noexcept {
        for (std::int64_t at = 0; at < n; ++at)
            put(at, Vorlanpoint{}, kFailure);
        return kFailure;
    }

    // The status of the batch, its first failure logged. Call it outside the guard.
    std::int32_t finish() const noexcept {
        if (!firstFailure_) return kSuccess;
        tracelogerror(*firstFailure_);
        return kFailure;
    }

private:
    void put(std::int64_t at, const Vorlanpoint& point, std::int32_t code) noexcept {
        if (posVel_ != nullptr) {
            vorlandi::setOutput(posVel_[at], point.pos, 3);
            vorlandi::setOutput(posVel_[at] + 3, point.vel, 3);
        }
        if (revNums_ != nullptr) revNums_[at] = point.rev;
        if (covMtx_ != nullptr) to6x6covmtx(covMtx_[at], point.cov);
        if (errCodes_ != nullptr) errCodes_[at] = code;
    }

    double (*posVel_)[6];
    std::int32_t* revNums_;
    double (*covMtx_)[6][6];
    std::int32_t* errCodes_;
    std::optional<MessageText> firstFailure_;
    Vorlanpoint point_;    // of the last answer
    MessageText message_;  // of the last failure
};

// Calls `work(begin, end)` for one stretch of answers after another.
template <class Work>
void inStretches(std::int64_t n, Work&& work) {
    for (std::int64_t begin = 0; begin < n; begin += kAnswersPerEntry) {
        work(begin, begin + std::min(kAnswersPerEntry, n - begin));
    }
}

void failAll(Answers& answers, std::int64_t begin, std::int64_t end, std::string_view why) noexcept {
    for (std::int64_t at = begin; at < end; ++at)
        answers.fail(at, why);
}

// The records of some satellites of a batch, looked up together, so that their cache misses overlap: what the next step
// needs of each record is prefetched while the previous step continues with the others. The reader side is held.
class RecordGroup {
public:
    static constexpr std::int64_t kSize = 16;

    explicit RecordGroup(std::span<const std::int64_t> satKeys) noexcept : size_(satKeys.size()) {
        for (std::size_t k = 0; k < size_; ++k) {
            Member& member = members_[k];
            member.satKey = satKeys[k];
            member.record = FindRecPtr(satKeys[k], member.reason, true);
            __builtin_prefetch(member.record);
        }
    }

    // The states at one time, as the answers `at` and following.
    void answer(double ds50UTC, std::int64_t at, Answers& answers) const noexcept {
        const auto members = std::span(members_).first(size_);
        for (const Member& member : members) {
            if (member.record != nullptr) prefetchPoints(*member.record, ds50UTC, answers.covariance());
        }
        for (const auto& [satKey, record, reason] : members) {
            if (record == nullptr) {
                answers.fail(at, reason);
            } else if (record->numberOfPoints() == 0) {
                answers.fail(at, noDataMessage("GetEphem", satKey));
            } else {
                PointInterpolator interpolator(*record);
                answers.answer(at, *record, interpolator, ds50UTC);
            }
            ++at;
        }
    }

private:
    struct Member {
        std::int64_t satKey;
        const Vorlanrecord* record;  // null for a reason
        std::string_view reason;
    };

    std::array<Member, kSize> members_;
    std::size_t size_;
};

}  // namespace

extern "C" {

int32_t VorlanDs50UTCArr(int64_t satKey, int64_t n, const double ds50UTC[], double posVel[][6], int32_t revNums[],
                         double covMtx[][6][6], int32_t errCodes[]) {
    return catchAll(__func__, [&]() -> int32_t {
        Answers answers(posVel, revNums, covMtx, errCodes);
        if (n < 0 || (n > 0 && ds50UTC == nullptr)) return answers.refuse(n);
        inStretches(n, [&](std::int64_t begin, std::int64_t end) {
            const RecordAccess record(satKey);
            if (!record) return failAll(answers, begin, end, record.message());
            if (record->numberOfPoints() == 0) return failAll(answers, begin, end, noDataMessage("GetEphem", satKey));
            PointInterpolator interpolator(*record);
            for (std::int64_t at = begin; at < end; ++at) {
                if (at < end - kAhead)
                    interpolator.prefetchAhead(ds50UTC[at], ds50UTC[at + kAhead], answers.covariance());
                answers.answer(at, *record, interpolator, ds50UTC[at]);
            }
        });
        return answers.finish();
    });
}

int32_t VorlanSatsDs50UTC(int64_t n, const int64_t satKeys[], double ds50UTC, double posVel[][6], int32_t revNums[],
                          double covMtx[][6][6], int32_t errCodes[]) {
    return catchAll(__func__, [&]() -> int32_t {
        Answers answers(posVel, revNums, covMtx, errCodes);
        if (n < 0 || (n > 0 && satKeys == nullptr)) return answers.refuse(n);
        inStretches(n, [&](std::int64_t begin, std::int64_t end) {
            const ReadGuard guard;
            for (std::int64_t at = begin; at < end; at += RecordGroup::kSize) {
                const auto size = static_cast<std::size_t>(std::min(RecordGroup::kSize, end - at));
                RecordGroup(std::span(satKeys + at, size)).answer(ds50UTC, at, answers);
            }
        });
        return answers.finish();
    });
}

int32_t VorlanGetEphemerisArr(int64_t satKey, int64_t first, int64_t n, double ds50UTC[], double posVel[][6],
                              int32_t revNums[], double covMtx[][6][6], int32_t errCodes[]) {
    return catchAll(__func__, [&]() -> int32_t {
        if (n < 0) return kFailure;
        Answers answers(posVel, revNums, covMtx, errCodes);
        inStretches(n, [&](std::int64_t begin, std::int64_t end) {
            if (ds50UTC != nullptr) std::fill(ds50UTC + begin, ds50UTC + end, 0.0);
            const RecordAccess record(satKey);
            if (!record) return failAll(answers, begin, end, record.message());
            const PointArray& points = record->points;
            if (points.count() == 0) return failAll(answers, begin, end, noDataMessage("GetEphem", satKey));
            for (std::int64_t at = begin; at < end; ++at) {
                // Compared so that no sum overflows for any `first`.
                if (first < 1 - at || first > points.count() - at) {
                    answers.fail(at, kIndexOutOfRange);
                    continue;
                }
                const Vorlanpoint point = points[static_cast<std::int32_t>(first + at - 1)];
                if (ds50UTC != nullptr) ds50UTC[at] = point.time;
                answers.succeed(at, point);
            }
        });
        return answers.finish();
    });
}

}  // extern "C"
