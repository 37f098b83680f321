// Compressed files, archives and standard input.
#include "CommandLine.hpp"

namespace vorlandi::cli_tests {
namespace {

struct ArchiveCase {
    std::string make, arguments;
    Lines messages, satellites;  // number, points, file and tag of each satellite
};

class Archives : public CommandLine {
protected:
    void expectLoads(const std::string& arguments, const Lines& messages, const Lines& satellites) const {
        SCOPED_TRACE("info " + arguments);
        const Outcome info = run("info --format csv " + arguments);
        Lines found, expected;
        for (const std::string& line : split(info.output)) {
            const Lines columns = split(line, ',');
            found.push_back(columns[0] + " " + columns[3] + " " + columns[9] + " " + columns[10]);
        }
        found.erase(found.begin());
        for (const std::string& message : messages)
            expected.push_back("vorlandi: " + message);
        EXPECT_EQ(found, satellites);
        EXPECT_EQ(split(info.messages), expected);
        EXPECT_EQ(info.status, messages.empty() ? 0 : 1);
    }

    void expectLoads(const std::vector<ArchiveCase>& cases) const {
        for (const auto& [make, arguments, messages, satellites] : cases) {
            ASSERT_EQ(shell(make).status, 0) << make;
            expectLoads(arguments, messages, satellites);
        }
    }
};

TEST_F(Archives, AreReadWithoutUnpackingThem) {
    write("folder/81003.e", ephemeris(3));
    write("folder/MEME_44713_NAME1_0300000_x.e", ephemeris(4));
    write("folder/81004\xC3\xA9.e", ephemeris(5));
    shell("cp '" VORLANDI_EXAMPLES "/81001.dce' folder/81009.DCE");
    const Lines folder = {"81004 5 NAME/folder/81004\xC3\xA9.e ", "81003 3 NAME/folder/81003.e ",
                          "44713 4 NAME/folder/MEME_44713_NAME1_0300000_x.e ", "81001 361 NAME/folder/81009.DCE "};
    const auto inFolder = [&](const std::string& name) {
        Lines lines = folder;
        for (std::string& line : lines)
            line.replace(line.find("NAME"), 4, name);
        return lines;
    };
    const std::string files = " folder/81004*.e folder/81003.e folder/MEME* folder/81009.DCE";
    Lines fromInput = inFolder("stdin");
    fromInput.push_back("81001 10 81001.e ");
    expectLoads({
        {"LC_ALL=C.UTF-8 bsdtar --format zip -cf all.zip" + files, "all.zip", {}, inFolder("all.zip")},
        {"bsdtar -cf all.tar" + files, "./all.tar", {}, inFolder("./all.tar")},
        {"bsdtar --format v7tar -cf old.tar folder/81003.e", "old.tar", {}, {"81003 3 old.tar/folder/81003.e "}},
        {"bsdtar -czf all.tgz" + files, "all.tgz", {}, inFolder("all.tgz")},
        {"bsdtar --xz -cf all" + files, "all", {}, inFolder("all")},
        {"bsdtar --zstd -cf all.zst ./folder/81003.e", "all.zst", {}, {"81003 3 all.zst/folder/81003.e "}},
        {"gzip -k 81001.e", "81001.e.gz", {}, {"81001 10 81001.e "}},
        {"(head -n 7 81001.e | gzip; tail -n +8 81001.e | gzip) >81005.gz", "81005.gz", {}, {"81005 10 81005 "}},
        {"bsdtar --format raw --xz -cf folder/81006.e.xz 81001.e",
         "folder/81006.e.xz",
         {},
         {"81006 10 folder/81006.e "}},
        {"bsdtar --format raw --zstd -cf 81007.e.zst 81001.e", "81007.e.zst", {}, {"81007 10 81007.e "}},
        {"gzip -c 81001.e >81008.e.GZ", "81008.e.GZ", {}, {"81008 10 81008.e "}},
        {"gzip -c 81001.e >.gz", "./.gz", {}, {"99999 10 ./.gz "}},
        {"mkfifo pipe; cat 81001.e.gz >pipe &", "pipe", {}, {"99999 10 pipe "}},
        {"echo EPHFIL = 81001.e >pipe &", "pipe", {}, {"81001 10 81001.e "}},
        {"true", "- <81001.e", {}, {"99999 10 stdin "}},
        {"true", "- <81001.e.gz", {}, {"99999 10 stdin "}},
        {"true", "- 81001.e <all.zip", {}, fromInput},
        {"true",
         "--fixed-rules all.tgz",
         {},
         {"81004 5 all.tgz/folder/81004\xC3\xA9.e ", "81003 3 all.tgz/folder/81003.e ",
          "99999 4 all.tgz/folder/MEME_44713_NAME1_0300000_x.e ", "81001 361 all.tgz/folder/81009.DCE "}},
    });
}

TEST_F(Archives, SayWhatIsNotLoadedAndKeepTheRest) {
    write("81003.e", ephemeris(20000));
    write("81004.e", ephemeris(20000, 0.0, 61.0));
    write("prose.txt", "Nothing of interest\n");
    shell("yes | head -c 3000000 >large; bsdtar -czf two.tgz 81003.e 81004.e; gzip -k 81003.e; ln -s 81001.e link");
    const std::string nested = ": error: an archive in an archive is not read";
    const std::string wrong =
        "crc.tgz: error: damaged: the checksum of the whole archive is wrong, so any of its files may be";
    const std::string large = ": error: larger than 2097152 bytes, the most that a file here may have";
    expectLoads({
        {"bsdtar -a -cf a.zip prose.txt 81001.e",
         "a.zip",
         {"a.zip/prose.txt: error: no ephemeris format recognised"},
         {"81001 10 a.zip/81001.e "}},
        {"true",
         "--fixed-rules a.zip",
         {"a.zip/prose.txt: error: no ephemeris recognised in this file, nor in any that its cards name"},
         {"81001 10 a.zip/81001.e "}},
        {"bsdtar -cf a.tar two.tgz 81001.e", "a.tar", {"a.tar/two.tgz" + nested}, {"81001 10 a.tar/81001.e "}},
        {"gzip -k a.zip", "a.zip.gz", {"a.zip.gz" + nested}, {}},
        {"gzip -c 81003.e.gz >twice", "twice", {"twice" + nested}, {}},
        {"bsdtar --format zip --options zip:encryption=zipcrypt --passphrase x -cf e.zip 81001.e",
         "e.zip",
         {"e.zip/81001.e: error: it is encrypted"},
         {}},
        {"bsdtar -cf l.tar link 81001.e",
         "l.tar",
         {"l.tar/link: error: not a regular file"},
         {"81001 10 l.tar/81001.e "}},
        {"bsdtar -a -cf large.zip large 81001.e",
         "--max-member 2M large.zip",
         {"large.zip/large" + large},
         {"81001 10 large.zip/81001.e "}},
        {"gzip large", "--max-member 2M large.gz 81001.e", {"large" + large}, {"81001 10 81001.e "}},
        {"true", "--max-member 2M - 81001.e <large.gz", {"stdin" + large}, {"81001 10 81001.e "}},
        {"head -c $(($(wc -c <two.tgz) * 3 / 4)) two.tgz >cut.tgz",
         "cut.tgz",
         {"cut.tgz/81004.e: error: damaged: truncated gzip input"},
         {"81003 20000 cut.tgz/81003.e "}},
        {"true", "- <cut.tgz", {"stdin/81004.e: error: damaged: truncated gzip input"}, {"81003 20000 stdin/81003.e "}},
        {"bsdtar -cf whole.tar 81003.e 81004.e; head -c $(($(wc -c <81003.e) + 9000)) whole.tar >cut.tar",
         "cut.tar",
         {"cut.tar/81004.e: error: damaged: Truncated tar archive"},
         {"81003 20000 cut.tar/81003.e "}},
        {"head -c $((($(wc -c <81003.e) + 511) / 512 * 512 + 512)) whole.tar >short.tar",
         "short.tar",
         {"short.tar: error: damaged: it ends too early, after short.tar/81003.e"},
         {"81003 20000 short.tar/81003.e "}},
        {"cp whole.tar bad.tar; printf x | dd of=bad.tar bs=1 conv=notrunc status=none seek=$((($(wc -c <81003.e) + "
         "511) / 512 * 512 + 520))",
         "bad.tar",
         {"bad.tar: error: damaged: Damaged tar archive, after bad.tar/81003.e"},
         {"81003 20000 bad.tar/81003.e "}},
        {"gzip -c 81001.e >crc.gz; printf x | dd of=crc.gz bs=1 conv=notrunc status=none seek=$(($(wc -c <crc.gz) - "
         "7))",
         "crc.gz",
         {"crc: error: damaged: the checksum is wrong"},
         {}},
        {"bsdtar -czf crc.tgz 81001.e; printf x | dd of=crc.tgz bs=1 conv=notrunc status=none seek=$(($(wc -c "
         "<crc.tgz) - 7))",
         "crc.tgz",
         {wrong},
         {"81001 10 crc.tgz/81001.e "}},
        {"mkfifo pipe; cat crc.tgz >pipe &", "pipe", {"pipe" + wrong.substr(7)}, {"81001 10 pipe/81001.e "}},
        {"true", "- <crc.gz", {"stdin: error: damaged: the checksum is wrong"}, {}},
        {"mkdir empty; bsdtar -a -cf empty.zip empty",
         "empty.zip",
         {"empty.zip: error: there is no file in this archive"},
         {}},
        {"gzip -c /dev/null >nothing.gz", "nothing.gz", {"nothing: error: no ephemeris format recognised"}, {}},
        {"bzip2 -kc 81001.e >b || printf 'BZh91AY&SY' >b",
         "b",
         {"b: error: bzip2 is not read; gzip, xz, zstd, zip and tar are"},
         {}},
        {"true", "- </dev/null", {"stdin: error: no ephemeris format recognised"}, {}},
        {"true", "- <folder", {"stdin: error: Is a directory"}, {}},
    });
    EXPECT_EQ(run("info - 81001.e -").status, 2);
    EXPECT_EQ(run("info 81001.e --max-member 0").status, 2);
}

TEST_F(Archives, FollowCardsToTheirOwnMembersOnly) {
    write("folder/81003.e", ephemeris(3));
    write("folder/near.card",
          "#VORLANDI = first\nEPHFIL = 81003.e\nEPHFIL = 81001.e\n#vorlandi=second \r\nEPHFIL = nothere.e\n"
          "EPHFIL = ../81002.itc\n");
    write("nothere.e", ephemeris(2));
    shell("bsdtar -a -cf a.zip folder 81001.e 81002.itc");
    expectLoads("a.zip", {"a.zip/folder/near.card:5: error: nothere.e is not in this archive"},
                {"81003 3 a.zip/folder/81003.e first", "81001 10 a.zip/81001.e ", "81002 2 a.zip/81002.itc second"});
    const Outcome input = run("info - 81001.e <folder/near.card");
    EXPECT_THAT(input.output, HasSubstr("  81001.e"));
    EXPECT_EQ(split(input.messages).size(), 4U);
    EXPECT_THAT(input.messages,
                testing::StartsWith("vorlandi: stdin:2: error: 81003.e: cards on standard input are not followed\n"));
}

}  // namespace
}  // namespace vorlandi::cli_tests
