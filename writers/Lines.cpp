#include "writers/Lines.hpp"

#include <algorithm>
#include <array>
#include <atomic>
#include <charconv>
#include <cmath>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

namespace vorlandi::writers {
namespace {

constexpr int kSignificantDigits = 17;  // enough to restore every double
constexpr std::size_t kLongestNumber = 32;

double largestComponent(const Vector3& vector) {
    return std::max({std::abs(vector[0]), std::abs(vector[1]), std::abs(vector[2])});
}

// Counted on the value rounded up, so that rounding to the decimals shown can't need one digit more.
int wholeDigits(double largest) { return static_cast<int>(fmt::formatted_size("{:.0f}", std::ceil(largest))); }

FixedField fitted(int width, double largest) {
    const int whole = wholeDigits(largest);
    const int signAndPoint = 2;
    return {width, std::max(0, std::min(width - signAndPoint, kSignificantDigits) - whole)};
}

constexpr std::size_t kFewestBlocks = 16;  // that are worth a thread

// Lets threads write numbered blocks in order: each waits for the turn of its block.
class Turns {
public:
    // Throws if another thread has failed.
    void await(std::size_t block) {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [&] { return turn_ == block || failure_; });
        if (failure_) std::rethrow_exception(failure_);
    }

    void next() {
        const std::lock_guard lock(mutex_);
        ++turn_;
        changed_.notify_all();
    }

    void fail(std::exception_ptr failure) {
        const std::lock_guard lock(mutex_);
        if (!failure_) failure_ = std::move(failure);
        changed_.notify_all();
    }

    void rethrow() const {
        if (failure_) std::rethrow_exception(failure_);
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    std::size_t turn_ = 0;
    std::exception_ptr failure_;
};

}  // namespace

void Lines::number(double value) {
    const std::size_t size = buffer_.size();
    buffer_.resize(size + kLongestNumber);
    char* const begin = buffer_.data() + size;
    buffer_.resize(size + static_cast<std::size_t>(std::to_chars(begin, begin + kLongestNumber, value).ptr - begin));
}

void Lines::numbersOf(const State& state) {
    constexpr std::size_t kNumbers = 6;
    const std::size_t size = buffer_.size();
    buffer_.resize(size + kNumbers * (kLongestNumber + 1));
    char* at = buffer_.data() + size;
    for (const Vector3* vector : {&state.position_km, &state.velocity_km_s}) {
        for (const double value : *vector) {
            *at++ = ' ';
            at = std::to_chars(at, at + kLongestNumber, value).ptr;
        }
    }
    buffer_.resize(static_cast<std::size_t>(at - buffer_.data()));
}

void Lines::handOn() {
    sink_({buffer_.data(), buffer_.size()});
    buffer_.clear();
}

void Lines::inBlocks(std::size_t count, const Block& block) {
    constexpr std::size_t kItems = 512;  // some 40 KB of text
    const std::size_t blocks = (count + kItems - 1) / kItems;
    const std::size_t threads = std::clamp(std::thread::hardware_concurrency(), 1U, 8U);
    if (threads == 1 || blocks < kFewestBlocks) return block(0, count, *this);
    handOn();
    Turns turns;
    std::atomic<std::size_t> next = 0;
    const auto work = [&] {
        std::size_t number = 0;
        const Sink inTurn = [&](std::string_view piece) {
            turns.await(number);
            sink_(piece);
        };
        Lines lines(inTurn, style_);
        try {
            while ((number = next++) < blocks) {
                block(number * kItems, std::min((number + 1) * kItems, count), lines);
                lines.handOn();
                turns.next();
            }
        } catch (...) {
            turns.fail(std::current_exception());
        }
    };
    {
        std::vector<std::jthread> others;
        try {
            for (std::size_t thread = 1; thread < threads; ++thread)
                others.emplace_back(work);
        } catch (const std::system_error&) {  // no more threads: those that there are do the work
        }
        work();
    }
    turns.rethrow();
}

std::string Lines::list(const Vector3& vector, double scale, std::string_view separator) const {
    const auto& [x, y, z] = vector;
    if (style_ == Style::Example)
        return fmt::format("{1: .16e}{0}{2: .16e}{0}{3: .16e}", separator, x * scale, y * scale, z * scale);
    return fmt::format("{1}{0}{2}{0}{3}", separator, shortest(x * scale), shortest(y * scale), shortest(z * scale));
}

std::string Lines::list(const State& state, double scale) const {
    return list(state.position_km, scale) + " " + list(state.velocity_km_s, scale);
}

void Lines::covariance(const Covariance& covariance) {
    constexpr std::size_t kNumbersPerLine = 7;
    for (std::size_t i = 0; i < covariance.size(); ++i) {
        if (i % kNumbersPerLine != 0) text(" ");
        if (style_ == Style::Example)
            text(fmt::format("{: .16e}", covariance[i]));
        else
            number(covariance[i]);
        if ((i + 1) % kNumbersPerLine == 0) end();
    }
}

std::string shortest(double value) {
    std::array<char, kLongestNumber> digits;
    return {digits.data(), std::to_chars(digits.data(), digits.data() + digits.size(), value).ptr};
}

StateFields fittedFields(const Ephemeris& ephemeris, int width, double velocityScale) {
    double position_km = 0.0;
    double velocity_km_s = 0.0;
    for (const State& state : ephemeris.states) {
        position_km = std::max(position_km, largestComponent(state.position_km));
        velocity_km_s = std::max(velocity_km_s, largestComponent(state.velocity_km_s));
    }
    return {fitted(width, position_km), fitted(width, velocity_km_s * velocityScale)};
}

std::string columns(const Vector3& vector, FixedField field, double scale, std::string_view gap) {
    return fmt::format("{0}{1:{4}.{5}f}{0}{2:{4}.{5}f}{0}{3:{4}.{5}f}", gap, vector[0] * scale, vector[1] * scale,
                       vector[2] * scale, field.width, field.decimals);
}

std::string placed(std::initializer_list<Placed> texts) {
    std::string line;
    for (const auto& [column, text] : texts) {
        if (line.size() < column - 1 + text.size()) line.resize(column - 1 + text.size(), ' ');
        line.replace(column - 1, text.size(), text);
    }
    return line;
}

}  // namespace vorlandi::writers
