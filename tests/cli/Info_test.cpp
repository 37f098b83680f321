// What `info` prints about the satellites in a file.
#include <regex>

#include "CommandLine.hpp"

namespace vorlandi::cli_tests {
namespace {

// Columns of csv.
constexpr std::size_t kFrame = 2, kCovariance = 7, kLeast = 11, kVelocities = 15;

class Info : public CommandLine {
protected:
    // The line of csv with the first satellite of a file.
    std::string lineOf(const std::string& name) const {
        const Lines lines = split(run("info --format csv " + name).output);
        return lines.size() > 1 ? lines[1] : "";
    }

    // Its columns from one to another, if no text among them contains a comma.
    std::string columns(const std::string& name, std::size_t first, std::size_t last) const {
        const Lines all = split(lineOf(name), ',');
        std::string some;
        for (std::size_t i = first; i <= last && i < all.size(); ++i)
            some += (i > first ? "," : "") + all[i];
        return some;
    }
};

TEST_F(Info, DescribesEverySatelliteInTheOrderOfLoading) {
    write("fleet.card", "#VORLANDI = a \"quoted\", tag\nEPHFIL = 81002.itc\nEPHFIL = 81001.e\n");
    const std::string table = run("info fleet.card").output;
    EXPECT_THAT(table, Not(HasSubstr(" \n")));
    const Lines lines = split(table);
    ASSERT_EQ(lines.size(), 3U);
    EXPECT_TRUE(std::regex_match(
        lines[1],
        std::regex(" +81002 +[0-9]+  ECI +2  2026-01-31T00:00:00.000000  2026-01-31T00:22:30.000000"
                   " +1350.000 +1350.000 +1350.000 +0  all +some +ITC +practical +81002.itc  a \"quoted\", tag")))
        << lines[1];
    const Outcome csv = run("info --format csv fleet.card");
    EXPECT_THAT(csv.output,
                HasSubstr(",1350,yes,ITC,81002.itc,\"a \"\"quoted\"\", tag\",1350,1350,1350,0,all,some,practical\n"
                          "81001,"));
    EXPECT_EQ(split(split(csv.output).at(0), ',').size(), kVelocities + 3);
    const std::string json = run("info --format json fleet.card").output;
    EXPECT_THAT(
        std::regex_replace(json, std::regex("\"key\":\"[0-9]+\""), "\"key\":K"),
        testing::StartsWith("{\"schema\":\"vorlandi.info/"
                            "1\",\"satellites\":[\n{\"satellite\":81002,\"key\":K,\"frame\":\"ECI\",\"points\":2,"
                            "\"first_utc\":\"2026-01-31T00:00:00.000000\",\"last_utc\":\"2026-01-31T00:22:30.000000\","
                            "\"mean_spacing_s\":1350,\"covariance\":true,\"format\":\"ITC\",\"file\":\"81002.itc\","
                            "\"tag\":\"a \\\"quoted\\\", tag\",\"spacing_least_s\":1350,\"spacing_median_s\":1350,"
                            "\"spacing_largest_s\":1350,\"gaps\":0,\"velocities\":\"all\",\"covariances\":\"some\","
                            "\"rules\":\"practical\"},\n"
                            "{\"satellite\":81001,\"key\":K,"));
    EXPECT_THAT(json, testing::EndsWith("\"covariances\":\"none\",\"rules\":\"practical\"}\n],\"files\":[\n"
                                        "{\"file\":\"fleet.card\",\"status\":0}\n]}\n"));
    EXPECT_THAT(run("info --format csv --fixed-rules fleet.card").output, HasSubstr(",some,fixed\n81001,"));
    write("81001.e", ephemeris(1));
    EXPECT_EQ(columns("81001.e", kLeast, kLeast + 3), ",,,0");
    EXPECT_THAT(run("info 81001.e").output, HasSubstr("  -  "));
    EXPECT_THAT(run("info 81001.e --format json").output, HasSubstr("\"spacing_least_s\":null,"));
}

TEST_F(Info, SumsUpAFleetByFrameAndFormat) {
    write("81003.e", ephemerisAt({0, 60, 120, 180, 4000}, "30 Jan 2026 00:00:00.000"));
    const Outcome table = run("info 81001.e 81002.itc 81003.e missing.e --summary");
    EXPECT_EQ(table.status, 1);
    const Lines lines = split(std::regex_replace(table.output, std::regex(" +"), " "));
    for (const char* const line :
         {"files 4, 1 with errors", "satellites 3", "points 17", "first (UTC) 2026-01-30T00:00:00.000000",
          "last (UTC) 2026-01-31T00:22:30.000000", "spacing (s) least 60.000, median 60.000, largest 3820.000",
          "gaps 1", "velocities all points of 3", "covariances some points of 1, none of 2"})
        EXPECT_THAT(lines, testing::Contains(line));
    EXPECT_EQ(
        run("info 81001.e 81002.itc 81003.e --summary --format csv").output,
        "frame,format,satellites,points,first_utc,last_utc,spacing_least_s,spacing_median_s,spacing_largest_s,gaps,"
        "velocities_all,velocities_some,velocities_none,covariances_all,covariances_some,covariances_none\n"
        "ECI,ITC,1,2,2026-01-31T00:00:00.000000,2026-01-31T00:22:30.000000,1350,1350,1350,0,1,0,0,0,1,0\n"
        "J2K,STK,2,15,2026-01-30T00:00:00.000000,2026-01-31T00:09:00.000000,60,60,3820,1,2,0,0,0,0,2\n");
    EXPECT_EQ(
        shell("vorlandi info 81001.e 81002.itc missing.e --summary --format json 2>/dev/null | python3 -c 'import "
              "json, sys; d = json.load(sys.stdin); s = d[\"summary\"]; print(d[\"schema\"], s[\"points\"], "
              "s[\"covariances\"][\"some\"], s[\"memory_bytes\"] > 1e6, [g[\"format\"] for g in s[\"groups\"]], "
              "[f[\"status\"] for f in d[\"files\"]])'")
            .output,
        "vorlandi.info/1 12 1 True ['ITC', 'STK'] [0, 0, 2]\n");
}

TEST_F(Info, NamesEveryFrame) {
    std::string vectors = contentsOf(VORLANDI_EXAMPLES "/81001_simobs.txt");
    for (const std::string name : {"ECI", "J2K", "EFG", "ECR", "LLH", "SEN"}) {
        write("vectors", vectors.replace(vectors.find('\n') + 76, 3, name));
        EXPECT_EQ(columns("--fixed-rules vectors", kFrame, kFrame), name);
    }
    std::string universal = contentsOf(VORLANDI_EXAMPLES "/81001_universal.txt");
    for (const std::string name : {"HCSRL", "WPTRL", "HCSGC", "WPTGC"}) {
        write("universal", universal.replace(universal.find("KQ_") + 39, 5, name));
        EXPECT_EQ(columns("universal", kFrame, kFrame), name);
    }
}

std::vector<double> timesOf(const std::vector<double>& steps_s) {
    std::vector<double> times_s = {0.0};
    for (const double step_s : steps_s)
        times_s.push_back(times_s.back() + step_s);
    return times_s;
}

std::vector<double> operator+(std::vector<double> a, const std::vector<double>& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

TEST_F(Info, FindsGapsByTheUpperQuartileOfTheThirtyOneStepsAroundThem) {
    using Steps = std::vector<double>;
    const auto run = [](std::size_t count, double step_s) { return Steps(count, step_s); };
    struct Case {
        const char* what;
        Steps steps_s;
        std::string expected;  // least, median and largest step, gaps
    };
    const Case cases[] = {
        {"three times the usual", run(9, 0.7) + run(1, 2.1), "0.7,0.7,2.1,0"},
        {"more than that", run(9, 0.7) + run(1, 2.100001), "0.7,0.7,2.100001,1"},
        {"a median between two steps", {10, 10, 31, 31}, "10,20.5,31,0"},
        {"a window of two steps", {10, 31}, "10,20.5,31,1"},
        {"a gap at each end", run(1, 200) + run(9, 10) + run(1, 200), "10,10,200,2"},
        {"another rate", run(40, 10) + run(40, 60), "10,35,60,0"},
        // 23 of 31 steps are 10 s, one of them fifteen steps away: no other window has that many.
        {"just enough short steps",
         run(20, 90) + run(12, 10) + run(3, 90) + run(1, 31) + run(4, 90) + run(11, 10) + run(20, 90), "10,90,90,1"},
        {"one too few", run(20, 90) + run(12, 10) + run(3, 90) + run(1, 31) + run(5, 90) + run(11, 10) + run(20, 90),
         "10,90,90,0"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        write("81001.e", ephemerisAt(timesOf(c.steps_s)));
        EXPECT_EQ(columns("81001.e", kLeast, kLeast + 3), c.expected);
    }
    write("81001.e", ephemerisAt({0, 60, 120}, "31 Dec 2016 23:59:00.000"));
    EXPECT_EQ(columns("--fixed-rules 81001.e", kLeast, kLeast + 3), "60,60.5,61,0") << "a leap second is counted";
}

TEST_F(Info, TellsWhetherAllPointsHaveVelocitiesAndCovariances) {
    const std::string none = "0 0 0 0 0 0 0\n0 0 0 0 0 0 0\n0 0 0 0 0 0 0\n", variance = "1" + none.substr(1);
    std::string stk = ephemeris(1025);
    for (const std::string velocities : {"all", "some"}) {
        write("81001.e", stk);
        EXPECT_EQ(columns("81001.e", kVelocities, kVelocities + 1), velocities + ",none");
        stk.replace(stk.rfind("1 0 0"), 1, "0");
    }
    write("81001.e", ephemerisAt({0}).replace(ephemerisAt({0}).find("PosVel"), 6, "Pos"));
    EXPECT_EQ(columns("81001.e", kVelocities, kVelocities), "none");
    std::string itc = covarianceEphemeris(variance);
    write("81002.itc", itc);
    EXPECT_EQ(columns("81002.itc", kVelocities, kVelocities + 1), "all,some");
    write("81002.itc", itc.replace(itc.find(none), none.size(), variance));
    EXPECT_EQ(columns("81002.itc", kVelocities, kVelocities + 1), "all,all");
    // Some formats store other numbers there: a covariance of x and y without a variance of y.
    write("81002.itc", covarianceEphemeris("5.5 12345 0 0 0 0 0\n0 0 0 0 0 0 0\n0 0 0 0 0 0 0\n"));
    EXPECT_EQ(columns("81002.itc", kCovariance, kCovariance) + columns("81002.itc", kVelocities + 1, kVelocities + 1),
              "nonone");
}

// With the byte NN for each \xNN.
std::string unescaped(const std::string& text) {
    std::string bytes;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool isEscaped = text.compare(i, 2, "\\x") == 0;
        bytes += isEscaped ? static_cast<char>(std::stoi(text.substr(i + 2, 2), nullptr, 16)) : text[i];
        i += isEscaped ? 3 : 0;
    }
    return bytes;
}

TEST_F(Info, MakesForeignTextsSafeToShow) {
    struct Case {
        std::string tag, shown, json;
    };
    const std::string bad = "\xEF\xBF\xBD";
    const Case cases[] = {
        {"a\x01\x1B[2J\x1F\x7Fz\\", "a??[2J??z\\", "a\\u0001\\u001b[2J\\u001f\x7Fz\\\\"},
        {"C1 \x9B[2J \xC2\x80\xC2\x9B\xC2\x9F|\xC2\xA0", "C1 ?[2J ???|\xC2\xA0",
         "C1 " + bad + "[2J \xC2\x80\xC2\x9B\xC2\x9F|\xC2\xA0"},
        {"\xD8\x9C\xE2\x80\x8E\xE2\x80\x8F\xE2\x80\xAA\xE2\x80\xAE\xE2\x81\xA6\xE2\x81\xA9|", "???????|",
         "\xD8\x9C\xE2\x80\x8E\xE2\x80\x8F\xE2\x80\xAA\xE2\x80\xAE\xE2\x81\xA6\xE2\x81\xA9|"},
        {"\xD8\x9B\xD8\x9D\xE2\x80\x8D\xE2\x80\x90\xE2\x80\xA9\xE2\x80\xAF\xE2\x81\xA5\xE2\x81\xAA",
         "\xD8\x9B\xD8\x9D\xE2\x80\x8D\xE2\x80\x90\xE2\x80\xA9\xE2\x80\xAF\xE2\x81\xA5\xE2\x81\xAA", ""},
        {"good \xC2\xA2\xDF\xBF\xE0\xA0\x80\xED\x9F\xBF\xEE\x80\x80\xF0\x90\x80\x80\xF4\x8F\xBF\xBF", "", ""},
        {"overlong \xC0\xAF\xC1\xBF|\xE0\x9F\xBF|\xF0\x8F\xBF\xBF", "overlong ????|???|????",
         "overlong " + bad + bad + bad + bad + "|" + bad + bad + bad + "|" + bad + bad + bad + bad},
        {"surrogate \xED\xA0\x80|\xED\xBF\xBF", "surrogate ???|???",
         "surrogate " + bad + bad + bad + "|" + bad + bad + bad},
        {"beyond \xF4\x90\x80\x80|\xF5\x80", "beyond ????|??", "beyond " + bad + bad + bad + bad + "|" + bad + bad},
        {"cut \xE2\x82|\xE2\x82\xAC\xE2\x82", "cut ??|\xE2\x82\xAC??",
         "cut " + bad + bad + "|\xE2\x82\xAC" + bad + bad},
    };
    for (const auto& [tag, shown, json] : cases) {
        SCOPED_TRACE(testing::PrintToString(tag));
        write("tag.card", "#VORLANDI = " + tag + "\nEPHFIL = 81001.e\n");
        EXPECT_THAT(run("info tag.card").output,
                    testing::EndsWith("  81001.e  " + (shown.empty() ? tag : shown) + "\n"));
        EXPECT_THAT(run("info tag.card --format json").output,
                    HasSubstr("\"tag\":\"" + (json.empty() ? tag : json) + "\","));
        const std::string csv = lineOf("tag.card");
        EXPECT_THAT(unescaped(csv), HasSubstr(",81001.e," + tag + ",60,"));
        EXPECT_EQ(csv != unescaped(csv), !shown.empty() && shown != tag) << "what the table doesn't show is escaped";
    }
}

TEST_F(Info, KeepsSpreadsheetsFromTakingATextForAFormula) {
    for (const auto& [tag, field] :
         std::initializer_list<std::pair<std::string, std::string>>{{"=1+1", "'=1+1"},
                                                                    {"+1", "'+1"},
                                                                    {"-1", "'-1"},
                                                                    {"@a,b", "\"'@a,b\""},
                                                                    {"a=1", "a=1"},
                                                                    {"\"=1", "\"\"\"=1\""}}) {
        write("tag.card", "#VORLANDI = " + tag + "\nEPHFIL = 81001.e\n");
        EXPECT_THAT(lineOf("tag.card"), HasSubstr(",81001.e," + field + ",60,"));
    }
    for (const auto& [name, field] : std::initializer_list<std::pair<std::string, std::string>>{
             {"\t81001.e", ",\\x0981001.e,"},
             {"a\n,81001.e", ",\"a\\x0a,81001.e\","},
             {"\xFF\xC2\x9B\xC3\xA9_81001.e", ",\\xff\\xc2\\x9b\xC3\xA9_81001.e,"}}) {
        fs::rename(file("81001.e"), file(name));
        EXPECT_THAT(run("info --format csv *81001.e").output, HasSubstr(field));
        fs::rename(file(name), file("81001.e"));
    }
}

TEST_F(Info, ListsTheFormatsOfTheExamples) {
    // Each format has a file, and each file shows a listed format.
    const auto formatsOfExamples = [this](const std::string& options) {
        return shell("cd '" VORLANDI_EXAMPLES "'; for file in *81001*[!v]; do vorlandi info $file --format csv " +
                     options + " 2>/dev/null | tail -n +2; done | cut -d, -f9 | sort -u")
            .output;
    };
    const std::string listed = shell("vorlandi formats | tail -n +2 | cut -d' ' -f1 | sort").output;
    EXPECT_EQ(split(listed).size(), 17U);
    EXPECT_EQ(formatsOfExamples(""), listed);
    EXPECT_EQ(formatsOfExamples("--fixed-rules"),
              shell("vorlandi formats | grep -v practical | tail -n +2 | cut -d' ' -f1 | sort").output);
}

}  // namespace
}  // namespace vorlandi::cli_tests
