// The output of `convert`, read back by the tool, or by the small readers below where a format also has other users.
#include <cmath>
#include <iomanip>
#include <map>
#include <regex>
#include <sstream>

#include "CommandLine.hpp"

namespace vorlandi::cli_tests {
namespace {

// An OEM segment on a circle of 7000 km, with awkward digits; points at these minutes of 2016-12-31T22:00.
struct Segment {
    std::string frame;
    std::vector<double> minutes;
    std::string fraction = "000000";  // of every second
    std::string number = "81001";
    bool withCovariance = true;
};

std::string epochText(double minutes, const std::string& fraction) {
    const int minute = static_cast<int>(minutes) + 22 * 60;
    std::ostringstream text;
    text << std::setfill('0') << (minute < 1440 ? "2016-12-31T" : "2017-01-01T") << std::setw(2) << minute / 60 % 24
         << ':' << std::setw(2) << minute % 60 << ":00." << fraction;
    return text.str();
}

std::string segmentText(const Segment& segment) {
    std::ostringstream text;
    text << std::setprecision(17) << "META_START\nOBJECT_NAME = " << segment.number
         << "\nOBJECT_ID = " << segment.number << "\nCENTER_NAME = EARTH\nREF_FRAME = " << segment.frame
         << "\nTIME_SYSTEM = UTC\nSTART_TIME = x\nSTOP_TIME = x\nMETA_STOP\n";
    std::ostringstream covariances;
    covariances << std::setprecision(17);
    for (const double minutes : segment.minutes) {
        const double angle = 0.065 * minutes;
        const std::string epoch = epochText(minutes, segment.fraction);
        text << epoch << ' ' << 7000.0 * std::cos(angle) << ' ' << 7000.0 * std::sin(angle) << " -1e-5 "
             << -7.5 * std::sin(angle) << ' ' << 7.5 * std::cos(angle) << ' ' << 1.0 / 3.0 << '\n';
        covariances << "EPOCH = " << epoch << '\n';
        for (int row = 0; row < 6; ++row) {
            for (int column = 0; column <= row; ++column)
                covariances << (row == column ? 1.0 + minutes / 7.0 : 0.1 / (row + column)) * (row < 3 ? 1.0 : 1e-3) *
                                   (column < 3 ? 1e-4 : 1e-7)
                            << ' ';
            covariances << '\n';
        }
    }
    if (segment.withCovariance) text << "COVARIANCE_START\n" << covariances.str() << "COVARIANCE_STOP\n";
    return text.str();
}

std::string oem(const std::vector<Segment>& segments) {
    std::string text = "CCSDS_OEM_VERS = 3.0\nCREATION_DATE = 2026-01-31T00:00:00\nORIGINATOR = T\n";
    for (const Segment& segment : segments)
        text += segmentText(segment);
    return text;
}

const std::vector<double> kEveryTenMinutes{0, 10, 20, 30, 40, 50, 60, 70};  // no leap second
const std::vector<double> kOverLeapSecond{90, 100, 110, 120, 130, 140};

// The values of the columns of `states --format csv`, except the key.
using Row = std::map<std::string, std::string>;

class Convert : public CommandLine {
protected:
    std::vector<Row> statesOf(const std::string& name) const {
        const Lines lines = split(run("states --cov --format csv " + name).output);
        std::vector<Row> rows;
        for (std::size_t i = 1; i < lines.size(); ++i) {
            const Lines titles = split(lines[0], ','), values = split(lines[i], ',');
            Row row;
            for (std::size_t k = 0; k < titles.size(); ++k)
                if (titles[k] != "key") row[titles[k]] = k < values.size() ? values[k] : "";
            rows.push_back(row);
        }
        return rows;
    }
};

double limitOf(const std::string& column, double numbers, double covariances) {
    if (column.starts_with("cov_")) return covariances;
    const bool isNumber = column.ends_with("_km") || column.ends_with("_km_s");
    return isNumber ? numbers : 0.0;
}

// A limit of 0: the same digits.
void expectSame(const std::vector<Row>& given, const std::vector<Row>& wanted, double numbers, double covariances) {
    ASSERT_EQ(given.size(), wanted.size());
    for (std::size_t i = 0; i < wanted.size(); ++i) {
        for (const auto& [column, value] : wanted[i]) {
            const std::string& found = given[i].at(column);
            const double limit = limitOf(column, numbers, covariances);
            if (limit == 0.0 || value.empty())
                EXPECT_EQ(found, value) << column << " of point " << i;
            else
                EXPECT_NEAR(std::stod(found), std::stod(value), limit) << column << " of point " << i;
        }
    }
}

void removeCovariances(std::vector<Row>& rows) {
    for (Row& row : rows)
        for (auto& [column, value] : row)
            if (column.starts_with("cov_")) value.clear();
}

TEST_F(Convert, WritesWhatIsReadAgainAsThePageSays) {
    // Half of the last digit: of nine decimals of km, of ten in 16 columns and modified ITC for these positions, of 13
    // in 19 columns, whose velocities are in m/s.
    constexpr double kNineDecimals = 0.51e-9, kTenDecimals = 0.51e-10, kThirteenDecimals = 0.6e-13;
    const struct Case {
        const char* into;
        const char* options;
        const char* frame;
        const char* file;
        bool hasOddTimes, overLeapSecond, keepsCovariances;
        double numbers, covariances;
    } cases[] = {
        {"stk", "--cov", "TEMEOFDATE", "81001.e", true, true, true, 0, 0},
        {"stk", "", "EME2000", "81001.e", true, false, false, 0, 0},
        {"stk", "", "ITRF", "81001.e", true, false, false, 0, 0},
        {"universal", "--frame-label HCSGC", "EFG", "81001.txt", true, true, false, kNineDecimals, 0},
        {"itc", "", "TEMEOFDATE", "81001.itc", false, true, true, kTenDecimals, 0},
        {"v31", "", "TEMEOFDATE", "81001.txt", false, false, false, kThirteenDecimals, 0},
        {"v31", "", "EFG", "81001.txt", false, false, false, kThirteenDecimals, 0},
        {"vector", "", "EME2000", "81001.txt", false, false, false, kTenDecimals, 0},
        {"vector", "", "EFG", "81001.txt", false, false, false, kTenDecimals, 0},
        {"simobs", "", "ITRF", "81001.txt", false, true, false, kThirteenDecimals, 0},
        {"dce-text", "", "TEMEOFDATE", "81001.txt", true, true, false, 0, 0},
        {"ecr", "", "ITRF", "81001.txt", false, false, false, 0, 0},
        {"oasys", "", "EME2000", "81001.txt", false, true, false, 0, 0},
        {"owner", "", "EME2000", "81001.txt", false, false, false, 0, 0},
        {"dce-binary", "", "TEMEOFDATE", "81001.DCE", true, true, false, 0, 0},
        {"modified-itc", "", "EME2000", "MEME_81001_81001_3662200.txt", false, true, true, kTenDecimals, 1e-15},
        {"modified-itc", "", "EFG", "EFG_81001_81001_3662200.txt", false, false, true, kTenDecimals, 1e-15},
        {"oem", "", "TEMEOFDATE", "81001.oem", true, true, true, 0, 0},
        {"oem", "", "EFG", "81001.oem", true, false, true, 0, 0},
        {"oem", "--oem-version 2.0", "EME2000", "81001.oem", true, false, true, 0, 0},
        {"oem", "--oem-version 2.0 --ref-frame ITRF2014", "ITRF", "81001.oem", true, false, true, 0, 0},
    };
    fs::create_directory(file("d"));
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.into) + " " + c.options + " from " + c.frame);
        // Times between two microseconds, where the format can keep them.
        Segment segment{c.frame, kEveryTenMinutes, c.hasOddTimes ? "1234567" : "125"};
        if (c.overLeapSecond)
            segment.minutes.insert(segment.minutes.end(), kOverLeapSecond.begin(), kOverLeapSecond.end());
        write("source.oem", oem({segment}));
        const Outcome outcome =
            run("convert source.oem --force --directory d --into " + std::string(c.into) + " " + c.options);
        ASSERT_EQ(outcome.status, 0) << outcome.messages;
        EXPECT_EQ(outcome.messages, "");
        std::vector<Row> wanted = statesOf("source.oem");
        if (!c.keepsCovariances) removeCovariances(wanted);
        if (std::string(c.into) == "universal")
            for (Row& row : wanted)
                row["frame"] = "HCSGC";
        expectSame(statesOf("d/" + std::string(c.file)), wanted, c.numbers, c.covariances);
    }
    EXPECT_THAT(contentsOf(file("d/81001.e")), Not(HasSubstr("leap second")));
    write("source.oem", oem({{"EME2000", kOverLeapSecond}}));
    run("convert source.oem --into stk -o 81001.e --force --cov");
    EXPECT_THAT(contentsOf(file("81001.e")),
                testing::AllOf(HasSubstr("# Times are elapsed seconds, over a leap second at 2017-01-01T00:00:00"),
                               HasSubstr("\n84600 "), HasSubstr("\n86401 "), HasSubstr("\nEND Ephemeris\n")));
    const Outcome fixed = run("states 81001.e --fixed-rules --format csv");
    EXPECT_EQ(fixed.messages, "") << "the fixed rules find the end of the states";
    EXPECT_EQ(split(fixed.output).size(), kOverLeapSecond.size() + 1);
}

// Long files are written on several threads, a block each.
TEST_F(Convert, KeepsTheOrderOfManyPoints) {
    write("81001.e", ephemeris(40000, 0.25, 1.5));
    ASSERT_EQ(run("convert 81001.e --into stk --directory d").status, 0);
    EXPECT_EQ(shell("for f in 81001.e d/81001.e; do vorlandi states $f --format csv; done | sort | uniq -u").output,
              "");
    EXPECT_EQ(shell("vorlandi states d/81001.e --format csv | cut -d, -f5 | sed 1d | sort -cn").status, 0);
}

TEST_F(Convert, ShowsTheTableOfThePage) {
    const auto rows = [](const std::string& text, const std::string& first, const std::string& ends) {
        Lines found;
        const std::size_t begin = text.find(first);
        for (const std::string& line : split(text.substr(begin, text.find(ends, begin) - begin))) {
            std::string row = std::regex_replace(line, std::regex(R"((^\| | \|$))"), "");
            row = std::regex_replace(row, std::regex(R"( \| |  +)"), "\t");
            found.push_back(std::regex_replace(row, std::regex("satellite number"), "number"));
        }
        return found;
    };
    Lines page = rows(contentsOf(VORLANDI_EXAMPLES "/../../docs/converting.md"), "| format", "\n\n");
    page.erase(page.begin() + 1);
    EXPECT_EQ(rows(run("convert --help").output, "format        suffix", "\n\n"), page);
}

TEST_F(Convert, RefusesWhatAFormatCannotHoldAndWritesTheRest) {
    write("odd.oem", oem({{"TEMEOFDATE", kEveryTenMinutes, "0004"}, {"EFG", kEveryTenMinutes, "000", "123456"}}));
    write("two.oem", oem({{"EME2000", kEveryTenMinutes}, {"EME2000", kOverLeapSecond, "000", "7"}}));
    write("far.oem",
          oem({{"TEMEOFDATE", kEveryTenMinutes, "0", "81001", false}}) + "2017-06-01T00:00:00 1e13 0 0 1 0 0\n");
    write("farther.oem",
          oem({{"EME2000", kEveryTenMinutes, "0", "81001", false}}) + "2017-06-01T00:00:00 1e306 0 0 1 0 0\n");
    write("late.oem", oem({{"TEMEOFDATE", {}, "0", "81001", false}}) + "2100-01-01T00:00:00 1 2 3 4 5 6\n");
    write("7.e",
          "stk.v.4.3\nScenarioEpoch 1 Jan 2026 00:00:00\nDistanceUnit Kilometers\nCoordinateSystem J2000\n"
          "EphemerisTimePosVel\n0 7000 0 0 0 0 0\n60 7000 100 0 0 0 0\nEND Ephemeris\n");
    write("early.oem", oem({{"TEMEOFDATE", {}, "0", "81001", false}}) + "1955-01-01T00:00:00.1234567 7000 0 0 0 7 0\n");
    write("1.txt", "9\n9 1 0 20485.5 1 2 3 4 5 6 0 0 0 0\n9 2 0 1e300 1 2 3 4 5 6 0 0 0 0\n");
    const struct Case {
        const char* arguments;
        int status;
        const char* message;
        const char* files;  // in the folder, afterwards
    } cases[] = {
        {"odd.oem --into itc --directory d", 1,
         "not written: 8 of its 8 times are not whole milliseconds, the first "
         "2016-12-31T22:00:00.000400",
         ""},
        {"odd.oem --into v31 --round-times --directory d", 1,
         "8 times are rounded to milliseconds, by up to 400.1 us, 3.004 m along the track", "81001.txt"},
        {"odd.oem --into v31 --round-times --directory d", 1,
         "(odd.oem): error: not written: its number has more than five digits, which v31 files can't hold",
         "81001.txt"},
        {"odd.oem --into stk --directory d", 1, "its frame is EFG, and stk files hold ECI, J2K, ECR", "81001.e"},
        {"odd.oem --into universal --directory d", 1, "the option frame-label writes one of these", ""},
        {"odd.oem --into oem --oem-version 2.0 --directory d", 1,
         "its frame is ECI, and oem files of version 2.0 hold J2K", ""},
        {"farther.oem --into czml -o d/x.czml", 1, "the number 1e+306 is too large in metres", ""},
        {"far.oem --into itc --directory d", 1, "the number 1e+13 doesn't fit into 16 columns", ""},
        {"late.oem --into owner --directory d", 1, "its frame is ECI, and owner files hold J2K", ""},
        {"late.oem --into itc --directory d", 1, "years of two digits, 1957 to 2056", ""},
        {"1.txt --fixed-rules --into czml -o d/x.czml", 1,
         "the time day 1e+300 since 1950 is not in the years 1950 to 2199", ""},
        {"two.oem --into oasys --directory d", 0, "", "00007_2.txt\n81001.txt"},
        {"two.oem --sat 7 --into oasys --directory d", 0, "", "00007_2.txt"},
        {"two.oem two.oem --sat 7 --into stk --directory d", 0, "", "00007_2.e\n00007_4.e"},
        {"two.oem ./two.oem --sat 7 --into stk --directory d", 1, "has been written from another", "00007_2.e"},
        {"two.oem --into stk -o d/x.e", 2, "--directory: is needed: there are 2 satellites", ""},
        {"two.oem --sat 8 --into stk -o d/8.e", 1, "satellite 8 is not in any of the files", ""},
        {"two.oem --sat 7 --into stk -o d/x.e", 0, "readers take the number of the satellite from the name of the file",
         "x.e"},
        {"two.oem --sat 7 --into stk -o d/7.e --from 2017-01-02", 1, "it has no points at these times", ""},
        {"two.oem --sat 7 --into oem --directory . --force", 0, "", ""},
        {"00007_2.oem --into oem --directory . --force", 0, "", ""},
        {"00007.oem --into oem --directory . --force", 1,
         "./00007.oem: error: is an input file and would be overwritten", ""},
        {"two.oem --sat 7 --into oem -o - --step 7200 --from 2016-12-30", 0, "", ""},
        {"two.oem --into oem -o two.oem --force", 2, "is an input file and would be overwritten", ""},
        {"7.e --into oem -o d/7.oem", 0, "(7.e): warning: all velocities are zero: states between", "7.oem"},
        {"early.oem --into dce-text --directory d", 1, "1 of its 1 time can't be counted from 1970 with all digits",
         ""},
        {"early.oem --into dce-binary --directory d --round-times", 0, "1 time is rounded, by up to 0.0", "81001.DCE"},
        {"early.oem --into stk --directory d --round-times", 2, "stk files keep every time", ""},
        {"two.oem --sat 7 --into oasys --directory d/new", 0, "d/new: new directory", "new"},
        {"two.oem --sat 7 --into oasys --directory d/new/deep", 1, "d/new/deep: error: No such file or directory", ""},
        {"two.oem --into stk", 2, "needs either --output or --directory", ""},
        {"two.oem --into stk --directory d --originator X", 2, "--originator: is an option of oem only", ""},
        {"two.oem --into oasys --directory d --cov", 2, "oasys files have no covariances", ""},
        {"two.oem --into oem -o d/x --ref-frame 'a b'", 2, "must be a name of 1 to 64 letters", ""},
        {"two.oem --into nothing -o d/x", 2, "--into", ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.arguments);
        fs::remove_all(file("d"));
        fs::create_directory(file("d"));
        const Outcome outcome = run("convert " + std::string(c.arguments));
        EXPECT_EQ(outcome.status, c.status) << outcome.messages;
        EXPECT_THAT(outcome.messages, HasSubstr(c.message));
        EXPECT_EQ(shell("ls d").output, std::string(c.files) + (*c.files == '\0' ? "" : "\n"));
        EXPECT_EQ(temporaryFiles(), Lines{});
    }
    write("d/7.e", "mine");
    const std::string command = "convert two.oem --sat 7 --into stk -o d/7.e";
    EXPECT_THAT(run(command).messages, HasSubstr("d/7.e: error: exists; --force replaces it"));
    EXPECT_EQ(contentsOf(file("d/7.e")), "mine");
    EXPECT_EQ(run(command + " --force").status, 0);
    EXPECT_THAT(contentsOf(file("d/7.e")), testing::StartsWith("stk.v."));
    EXPECT_THAT(run("convert two.oem --sat 7 --into oasys -o - -v").messages,
                HasSubstr("its covariances are left out"));
    EXPECT_THAT(run("convert odd.oem two.oem --into oem --oem-version 2.0 -o -").output,
                testing::AllOf(HasSubstr("COMMENT two.oem\n"), Not(HasSubstr("odd.oem"))));
    shell("cp two.oem again.oem; vorlandi convert two.oem again.oem --into czml -o d/two.czml");
    EXPECT_EQ(shell("grep -o '\"id\":\"[0-9-]*' d/two.czml | sort | uniq -c | grep -c ' 1 '").output, "5\n");
}

// Steps of 10 minutes, a gap that the library doesn't answer, a single point, and a gap that it answers inaccurately.
const std::vector<double> kWithGaps{0, 10, 20, 30, 40, 340, 640, 650, 660, 670, 680, 780, 790, 800};

TEST_F(Convert, DividesOemWhereNothingIsAnsweredForAnyReader) {
    std::vector<double> minutes = kWithGaps;
    write("source.oem", oem({{"EME2000", minutes}}));
    const Outcome outcome =
        shell("SOURCE_DATE_EPOCH=0 vorlandi convert source.oem --into oem -o out.oem --useable --originator 'A B'");
    ASSERT_EQ(outcome.status, 0) << outcome.messages;
    const std::string text = contentsOf(file("out.oem"));

    // A reader of key = value lines and of the numbers between them.
    std::vector<std::map<std::string, std::string>> segments;
    std::vector<Lines> states, covariances;
    Lines header;
    for (const std::string& line : split(text)) {
        EXPECT_LT(line.size(), 254U);
        const Lines words = split(line, ' ');
        if (words.empty() || words[0] == "COMMENT") continue;
        if (words[0] == "META_START") {
            segments.emplace_back(), states.emplace_back(), covariances.emplace_back();
        } else if (words.size() > 2 && words[1] == "=") {
            const std::string value = line.substr(words[0].size() + 3);
            if (segments.empty())
                header.push_back(words[0] + " " + value);
            else if (words[0] == "EPOCH")
                covariances.back().push_back(value);
            else
                EXPECT_TRUE(segments.back().emplace(words[0], value).second) << words[0] << " occurs twice";
        } else if (words[0].find('T') != std::string::npos && words.size() == 7) {
            states.back().push_back(line);
        } else if (!words[0].starts_with("META") && !words[0].starts_with("COVARIANCE")) {
            covariances.back().back() += " " + line;
        }
    }
    EXPECT_EQ(header, (Lines{"CCSDS_OEM_VERS 3.0", "CREATION_DATE 1970-01-01T00:00:00", "ORIGINATOR A B"}));
    const std::vector<std::size_t> sizes{5, 1, 5, 3};
    ASSERT_EQ(segments.size(), sizes.size());
    const std::vector<Row> stored = statesOf("source.oem");
    std::size_t point = 0;
    for (std::size_t i = 0; i < segments.size(); ++i) {
        const auto& keys = segments[i];
        const std::string first = stored[point].at("time_utc"), last = stored[point + sizes[i] - 1].at("time_utc");
        EXPECT_EQ(keys.at("OBJECT_ID") + keys.at("REF_FRAME") + keys.at("TIME_SYSTEM"), "81001EME2000UTC");
        EXPECT_EQ(keys.at("START_TIME") + keys.at("STOP_TIME"), first + last);
        EXPECT_EQ(keys.count("INTERPOLATION_DEGREE"), sizes[i] > 1 ? 1U : 0U);
        EXPECT_EQ(keys.count("USEABLE_START_TIME"), sizes[i] > 3 ? 1U : 0U);
        ASSERT_EQ(states[i].size(), sizes[i]);
        ASSERT_EQ(covariances[i].size(), sizes[i]);
        for (std::size_t k = 0; k < sizes[i]; ++k, ++point) {
            const Row& row = stored[point];
            std::string wanted = row.at("time_utc");
            for (const char* column : {"x_km", "y_km", "z_km", "vx_km_s", "vy_km_s", "vz_km_s"})
                wanted += " " + row.at(column);
            EXPECT_EQ(states[i][k], wanted);
            const Lines numbers = split(covariances[i][k], ' ');
            ASSERT_EQ(numbers.size(), 22U);
            EXPECT_EQ(numbers[2], row.at("cov_y_x"));
            EXPECT_EQ(numbers[21], row.at("cov_vz_vz"));
        }
    }
    EXPECT_EQ(segments[2].at("USEABLE_STOP_TIME"), stored[9].at("time_utc"));

    // Times without an answer also end a segment. Formats without segments don't mark them.
    const Outcome stepped = run("convert source.oem --into oem -o - --step 300");
    EXPECT_EQ(stepped.status, 1) << "22:35 is in a segment";
    EXPECT_THAT(stepped.messages,
                HasSubstr("error: 2 times are without a state and left out, the first 2016-12-31T22:35:"));
    EXPECT_THAT(stepped.messages, HasSubstr("times are in gaps between its points and left out, the first "
                                            "2016-12-31T22:45:00"));
    Lines starts;
    for (const std::string& line : split(stepped.output))
        if (line.starts_with("START_TIME")) starts.push_back(line.substr(line.find('T', 20) + 1, 5));
    EXPECT_EQ(starts, (Lines{"22:00", "22:40", "03:40", "08:40", "08:50", "11:00"}));
    EXPECT_THAT(run("convert source.oem --into stk -o 81001.e --force").messages,
                HasSubstr("3 gaps between its points are not marked in stk files"));
    EXPECT_EQ(run("convert source.oem --into oem -o - --tolerance 1e30 | grep -c META_START").output, "3\n")
        << "a gap that is accurate enough cuts nothing";
}

// The polynomial of degree 7 through four points and their derivatives, by divided differences.
double hermite(const double* t, const double* x, const double* v, double at) {
    double z[8], q[8];
    for (int i = 0; i < 8; ++i)
        z[i] = t[i / 2], q[i] = x[i / 2];
    for (int order = 1; order < 8; ++order)
        for (int i = 7; i >= order; --i)
            q[i] = z[i] == z[i - order] ? v[i / 2] : (q[i] - q[i - 1]) / (z[i] - z[i - order]);
    double value = q[7];
    for (int i = 6; i >= 0; --i)
        value = value * (at - z[i]) + q[i];
    return value;
}

// An STK file with points every 168.75 s, 1/512 of a day, which a double of days holds exactly; the leap second is
// after the fourth of them.
std::string exactStk() {
    std::ostringstream text;
    text << "stk.v.11.0\nScenarioEpoch 31 Dec 2016 23:54:22.500\nCoordinateSystem Fixed\nDistanceUnit Kilometers\n"
            "EphemerisTimePosVel\n"
         << std::setprecision(17);
    for (int i = 0; i < 8; ++i) {
        const double angle = 0.18 * i;
        text << 168.75 * i + (i > 1 ? 1.0 : 0.0) << ' ' << 7000.0 * std::cos(angle) << ' ' << 7000.0 * std::sin(angle)
             << " 100 " << -7.5 * std::sin(angle) << ' ' << 7.5 * std::cos(angle) << " 0.5\n";
    }
    return text.str() + "END Ephemeris\n";
}

TEST_F(Convert, WritesCzmlWhoseCurveIsTheLibrarysToAMillimeter) {
    write("source.oem", oem({{"TEMEOFDATE", kWithGaps}}));
    write("00005.e", exactStk());
    const Outcome outcome = run("convert source.oem 00005.e --into czml -o out.czml");
    ASSERT_EQ(outcome.status, 0) << outcome.messages;
    EXPECT_THAT(outcome.messages, HasSubstr("ECI is shown as J2000, which turns it by about 0.24 degrees, 29 km"));
    const Outcome packets = shell(
        "python3 -c \"import json;d=json.load(open('out.czml'));print(d[0]['version'],d[0]['clock']['interval'],"
        "[(p['id'],len(p['availability']),len(p['position']),p['position'][0]['referenceFrame']) for p in d[1:]],"
        "d[1]['path']['trailTime'])\"");
    // The period for a semimajor axis of 6929.2 km.
    EXPECT_EQ(packets.output,
              "1.0 2016-12-31T22:00:00.000000Z/2017-01-01T11:20:00.000000Z "
              "[('81001', 4, 4, 'INERTIAL'), ('5', 1, 1, 'FIXED')] 5740.316\n");

    // t, x, y, z, vx, vy, vz, ... of the last satellite
    const std::string text = contentsOf(file("out.czml"));
    const std::size_t begin = text.rfind("[\n") + 2;
    std::vector<double> numbers;
    for (const std::string& number : split(text.substr(begin, text.find(']', begin) - begin), ','))
        numbers.push_back(std::stod(number));
    ASSERT_EQ(numbers.size(), 7U * 8U);
    const struct Case {
        const char* time;  // in the middle of an interval
        double elapsed_s;
        std::size_t window;
    } cases[] = {{"2016-12-31T23:55:46.875", 84.375, 0},
                 {"2017-01-01T00:01:24.375", 422.875, 1},  // after the leap second
                 {"2017-01-01T00:07:01.875", 760.375, 3},
                 {"2017-01-01T00:12:39.375", 1097.875, 4}};
    for (const Case& c : cases) {
        const Lines state =
            split(split(run("states 00005.e --format csv --at " + std::string(c.time)).output).at(1), ',');
        for (std::size_t axis = 0; axis < 3; ++axis) {
            double t[4], x[4], v[4];
            for (std::size_t k = 0; k < 4; ++k) {
                const double* const sample = &numbers[7 * (c.window + k)];
                t[k] = sample[0], x[k] = sample[1 + axis], v[k] = sample[4 + axis];
            }
            EXPECT_NEAR(hermite(t, x, v, c.elapsed_s), std::stod(state.at(5 + axis)) * 1000.0, 0.001)
                << c.time << ", axis " << axis;
        }
    }
}

}  // namespace
}  // namespace vorlandi::cli_tests
