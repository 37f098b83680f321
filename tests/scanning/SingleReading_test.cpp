// A file without cards is read once, with the same effects as reading it twice.
#include <random>

#include "scanning/WholeLoad.hpp"

namespace vorlandi::testing {
namespace {

class SingleReading : public WholeLoadTest {
protected:
    // The same from a source that can't be rewound, which is read for its cards first.
    Lines twice(std::string_view text, const LoadRequest& request) {
        return everythingOf(std::make_unique<ToldSource>(text, false), "81001_fleet", request);
    }

    Lines once(std::string_view text, const LoadRequest& request, std::size_t piece = SIZE_MAX,
               Reading* reading = nullptr) {
        return everythingOf(std::make_unique<ToldSource>(text, true, piece, reading), "81001_fleet", request);
    }

    const LoadRequest fixed{}, practical{ReadingRules::practical()};
};

std::string owner(int lines, int badFrom) {
    std::string text;
    for (int k = 0; k < lines; ++k) {
        const std::string number = std::to_string(1000 + k);
        text += "26031" + number.substr(0, 4) + "00.000" + (k < badFrom ? "" : " x") + " 1.0 2.0 3.0 4.0 5.0 6.0\n";
    }
    return text;
}

TEST_F(SingleReading, ReadsAFileWithoutCardsOnce) {
    const std::string marks = "# a comment\nOBJECT = x\n=====\n#VORLAND = x\n EPHFIL = x\n";
    const std::string card = "EPHFIL = " + folder.path("missing") + "\n";
    const std::string far(200'000, '\n');
    constexpr std::size_t kBuffer = 65536;
    const struct {
        std::string text;
        std::size_t times;
        std::size_t spared;  // what is still in the buffer
    } cases[] = {
        {marks + owner(100, 99) + far + marks, 1, 0}, {owner(100, 99) + far + card, 3, 0},  // seen at the end
        {card + far + owner(100, 99), 3, 0},  // seen before anything is read; this block begins with the file
        {owner(2000, 0) + far, 2, kBuffer},   // more bad lines than can be kept: then the rest is searched
        {owner(2000, 0) + far + card, 3, 0},
    };
    for (const auto& [text, times, spared] : cases) {
        Reading reading;
        const Lines made = once(text, practical, SIZE_MAX, &reading);
        EXPECT_EQ(made, twice(text, practical));
        EXPECT_EQ(reading.bytes, times * text.size() - spared);
    }
}

// Lines that are cards, or nearly, between lines of blocks, and cut in pieces anywhere.
TEST_F(SingleReading, HasTheResultOfReadingItTwice) {
    const std::string other = folder.write("other", "5\n1 1 0 20485/\n\n");
    const std::string lines[] = {"EPHFIL = " + other,
                                 "ephemfile=" + other,
                                 "VORLAN =",
                                 "#VORLANDI = first",
                                 "#vorlandi=second",
                                 "#",
                                 "=",
                                 "",
                                 "EPHFIL",
                                 "E = x",
                                 "#VORLANDJ = x",
                                 "\xEF\xBB\xBF"
                                 "EPHFIL = " +
                                     other,
                                 "KQ_UNIVERSAL_VORLANDI_V1.0        81001HCSRL",
                                 "2026-01-31T00:00:00.000000 1.0 2.0 3.0 4.0 5.0 6.0",
                                 "nonsense",
                                 "7",
                                 "1 1 0 20486/",
                                 "1 1 0 20485 1 2 3",
                                 std::string(70'000, 'x'),
                                 std::string(2'000, '=')};
    std::mt19937_64 random(testSeed());
    for (int round = 0; round < 400; ++round) {
        std::string text;
        for (auto left = random() % 12; left > 0; --left)
            text += lines[random() % std::size(lines)] + (random() % 8 == 0 ? "\r\n" : "\n");
        if (random() % 2 == 0 && !text.empty()) text.pop_back();
        LoadRequest request = random() % 2 == 0 ? fixed : practical;
        request.followsCards = random() % 4 != 0;
        ASSERT_EQ(once(text, request, 1 + random() % (random() % 2 == 0 ? 20 : 70'000)), twice(text, request))
            << "round " << round << ", seed " << testSeed() << "\n"
            << text.substr(0, 2'000);
    }
}

// Throws at one of its events.
struct Thrower {
    static void hear(std::int32_t, const char*, std::int32_t, std::int64_t, const char*, std::int32_t, void* self) {
        if (--static_cast<Thrower*>(self)->left == 0) throw std::runtime_error("enough");
    }
    int left;
};

TEST_F(SingleReading, AnObserverThatThrowsEndsTheLoadWhereverItsEventIsKept) {
    const std::string text = owner(2000, 0);
    for (const int event : {1, 2, 1500}) {
        std::size_t messages[2];
        for (const bool goesAnywhere : {false, true}) {
            log.clear();
            Thrower thrower{event};
            VorlanSetReadObserver(Thrower::hear, &thrower);
            Load load;
            InputUnit unit(std::make_unique<ToldSource>(text, goesAnywhere));
            EXPECT_THROW(readvorlansfrfileunit(unit, {"81001_fleet"}, load), std::runtime_error);
            VorlanSetReadObserver(nullptr, nullptr);
            EXPECT_EQ(thrower.left, 0) << "nothing is told after it";
            EXPECT_EQ(VorlanGetCount(), 0);
            messages[goesAnywhere ? 1 : 0] = log.errors().size();
        }
        EXPECT_EQ(messages[0], messages[1]);
    }
}

}  // namespace
}  // namespace vorlandi::testing
