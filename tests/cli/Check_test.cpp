#include "CommandLine.hpp"

namespace vorlandi::cli_tests {
namespace {

class Check : public CommandLine {
protected:
    Check() {
        const std::string example = contentsOf(fs::path(VORLANDI_EXAMPLES) / "81001_stk.e");
        const auto header = example.find("EphemerisTimePosVel\n") + 20;
        head_ = example.substr(0, header);
        points_ = split(example.substr(header));
    }

    // The example with its first points, and lines inserted before the twentieth of them and after the last.
    void writeExample(const std::string& name, const std::string& inside, const std::string& after) const {
        std::string text = head_;
        for (std::size_t i = 0; i < 40; ++i)
            text += (i == 20 ? inside : "") + points_[i] + "\n";
        write(name, text + after);
    }

    // Severity, kind, file and line of the findings.
    Lines findings(const Outcome& outcome) const {
        Lines found;
        for (const std::string& line : split(outcome.output)) {
            std::string fields;
            for (std::size_t i = 0; i < 4 && i < split(line, ',').size(); ++i)
                fields += (i == 0 ? "" : " ") + split(line, ',')[i];
            if (!line.empty()) found.push_back(fields);
        }
        if (!found.empty()) found.erase(found.begin());
        return found;
    }

private:
    std::string head_;
    Lines points_;
};

TEST_F(Check, NamesFileAndLineOfWhatLoadingShows) {
    writeExample("clean.e", "", "");
    writeExample("bad.e", "12 xx\n", "");
    writeExample("late.e", "0.0 7000000 0 0 0 7500 0\n", "");
    writeExample("end.e", "", "\nEND Ephemeris\n");
    writeExample("covariance.e", "", "CovarianceTimePosVel\n0 1 2 3 4 5 6 7 8\n2400 1 2 3 4 5 6 7 8\n");
    write("none.e", "nothing\n");
    writeExample("refused.e", "", "");
    shell("sed -i s/Earth/Moon/ refused.e; cp clean.e 81002_clean.e");
    write("82.card", "EPHFIL=bad.e\nEPHFIL=81002_clean.e\n");
    write("seam.e", contentsOf(file("clean.e")) + "2340.0 7000000 0 0 0 7546 0\n2400 6985360 452430 0 -488 7530 0\n");
    write("1.e", ephemeris(10));
    write("some.card", "VORFIL=missing.e\n");
    struct Case {
        std::string arguments;
        int status;
        Lines findings;
    };
    for (const Case& c :
         {Case{"clean.e", 0, {}}, Case{"bad.e", 1, {"error unreadable-line bad.e 29"}},
          Case{"bad.e --skip unreadable-line", 0, {}}, Case{"bad.e --only gap,steps", 0, {}},
          Case{"late.e", 1, {"warning dropped-point late.e 29"}}, Case{"end.e", 0, {}},
          Case{"end.e --fixed-rules", 0, {"note harmless-line end.e 50"}},
          Case{"covariance.e --fixed-rules "
               "--skip steps,unanswered,below-ground,interpolation,jump,outlier,not-examined",
               1,
               {"note harmless-line covariance.e 49", "note harmless-line covariance.e 50",
                "error covariance-as-points covariance.e "}},
          Case{"clean.e clean.e", 1, {"warning duplicate clean.e "}},
          Case{"bad.e none.e", 3, {"error unreadable-line bad.e 29", "error not-read none.e "}},
          Case{"missing.e", 3, {"error not-read missing.e "}}, Case{"refused.e", 3, {"error not-read refused.e 5"}},
          Case{"82.card --sat 81002 --only unreadable-line", 0, {}},
          Case{"82.card --sat 99999 --only unreadable-line", 1, {"error unreadable-line bad.e 29"}},
          Case{"seam.e --only seam", 0, {"note seam seam.e "}},
          Case{"1.e --only gap", 0, {"note not-examined 1.e "}}}) {
        SCOPED_TRACE(c.arguments);
        const Outcome outcome = run("check --format csv " + c.arguments);
        EXPECT_EQ(outcome.status, c.status);
        EXPECT_EQ(findings(outcome), c.findings);
    }
}

TEST_F(Check, WritesOneTableAndOneDocument) {
    writeExample("gap.e", "", "6000 1e6 7e6 0 1 2 3\n");
    const Outcome table = run("check gap.e --limit 0");
    EXPECT_THAT(table.output, HasSubstr("satellite  frame  points  first (UTC)                 last (UTC)"));
    EXPECT_THAT(table.output, HasSubstr("satellite 99999 (gap.e): 1 more gap\n"));
    EXPECT_THAT(run("check gap.e").output,
                HasSubstr("satellite 99999 (gap.e): warning gap 2026-01-31T00:39:00 to 01:40:00: gap of 3660 s"));
    EXPECT_EQ(run("check gap.e -j 3 --format json").output, run("check gap.e --format json").output);
    EXPECT_EQ(shell("vorlandi check gap.e --format json | python3 -c 'import json, sys; d = json.load(sys.stdin); "
                    "print(d[\"schema\"], [s[\"points\"] for s in d[\"satellites\"]], d[\"errors\"], "
                    "d[\"satellites\"][0][\"spacing_s\"][\"largest\"], d[\"files\"][0][\"status\"])'")
                  .output,
              "vorlandi.check/1 [41] 0 3660 0\n");
}

TEST_F(Check, DistinguishesWrongUsageFromFailure) {
    writeExample("clean.e", "", "");
    EXPECT_EQ(run("check clean.e --only gaps").status, 2);
    EXPECT_EQ(run("check clean.e --only gap --skip gap").status, 2);
    EXPECT_EQ(run("check clean.e --tolerance 0").status, 2);
    EXPECT_EQ(run("check clean.e --from 2026-02-01 --to 2026-01-01").status, 2);
    EXPECT_EQ(run("check clean.e --sat 7").status, 3);
    const Outcome silenced = run("check missing.e --skip not-read");
    EXPECT_EQ(silenced.status, 3);
    EXPECT_EQ(silenced.messages, "vorlandi: missing.e: error: No such file or directory\n");
    EXPECT_EQ(run("check clean.e -o missing/folder").status, 3);
}

}  // namespace
}  // namespace vorlandi::cli_tests
