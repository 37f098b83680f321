// All effects of a load in a form that can be compared: what it stores, reports and returns; and a source of bytes that
// records how it was read.
#pragma once

#include <mutex>
#include <stdexcept>
#include <string>
#include <string_view>

#include "Vorlandi/VorlandiCardReading/InputScanning.hpp"
#include "scanning/LoadingTest.hpp"
#include "scanning/ReadEvents.hpp"

namespace vorlandi::testing {

// The requests to a source.
struct Reading {
    std::mutex mutex;
    std::size_t bytes = 0;
};

class ToldSource : public ByteSource {
public:
    // `piece`: the most bytes that come at once.
    ToldSource(std::string_view text, bool goesAnywhere, std::size_t piece = SIZE_MAX, Reading* reading = nullptr)
        : text_(text), goesAnywhere_(goesAnywhere), piece_(piece), reading_(reading) {}

    std::int64_t read(char* bytes, std::size_t capacity) override {
        const std::size_t count = text_.copy(bytes, std::min(capacity, piece_), at_);
        at_ += count;
        if (reading_ != nullptr) {
            const std::lock_guard lock(reading_->mutex);
            reading_->bytes += count;
        }
        return static_cast<std::int64_t>(count);
    }
    bool rewind() override {
        at_ = 0;
        return true;
    }
    std::int64_t size() const override { return goesAnywhere_ ? static_cast<std::int64_t>(text_.size()) : -1; }
    bool goTo(std::int64_t position) override {
        at_ = static_cast<std::size_t>(position);
        return goesAnywhere_;
    }

private:
    std::string_view text_;
    bool goesAnywhere_;
    std::size_t piece_;
    Reading* reading_;
    std::size_t at_ = 0;
};

class WholeLoadTest : public LoadingTest {
protected:
    // Loads into an empty store. Reports come first, then what is stored, then the status.
    Lines everythingOf(std::unique_ptr<ByteSource> source, const std::string& name, const LoadRequest& request) {
        VorlanRemoveAllSats();
        log.clear();
        Lines all;
        {
            ReadEvents events(log);
            Load load(request);
            InputUnit unit(std::move(source));
            all.push_back("status " + std::to_string(readvorlansfrfileunit(unit, {name}, load)));
            for (std::size_t k = 0; k < events.heard.size(); ++k)
                all.push_back(std::to_string(events.errorsBefore[k]) + ": " + events.heard[k]);
        }
        for (const Lines& messages : {log.errors(), log.infos()})
            all.insert(all.end(), messages.begin(), messages.end());
        std::vector<std::int64_t> keys(static_cast<std::size_t>(VorlanGetCount()));
        VorlanGetLoaded(2, keys.data());
        for (const std::int64_t key : keys)
            all.push_back(contentOf(storedRecord(key)));
        return all;
    }

private:
    static std::string contentOf(const Vorlanrecord& record) {
        const PointArray& points = record.points;
        const auto bytes = [](const auto* elements, std::int32_t count) {
            return elements == nullptr ? std::string("none")
                                       : std::string(reinterpret_cast<const char*>(elements),
                                                     static_cast<std::size_t>(count) * sizeof *elements);
        };
        return std::to_string(record.satNum) + " " + std::to_string(record.coordSys) + " " +
               std::to_string(record.epoch) + " " + std::string(record.inputTag.view()) + " " +
               std::to_string(points.count()) + "/" + std::to_string(points.capacity()) + " " +
               bytes(points.states(), points.count()) + bytes(points.covariances(), points.count());
    }
};

}  // namespace vorlandi::testing
