// Building a Knowledge Base from CSV: the field readers, the sample data under tests/data/kb, and
// the errors that name the file and line of bad input.
#include "kb/kb_csv.h"

#include <gtest/gtest.h>

#include "kb/auditdbsys.h"
#include "kb/file_signature.h"
#include "kb_files.h"

namespace {

using kbtest::ScratchFolder;

TEST(KbCsv, NumbersAreDecimalOrHex) {
    struct Case {
        const char* text;
        bool ok;
        ULong value;
    };
    const Case cases[] = {{"0", true, 0},           {"", true, 0},
                          {" 42 ", true, 42},       {"0x1F", true, 31},
                          {"0XfF", true, 255},      {"4294967295", true, 0xFFFFFFFF},
                          {"4294967296", false, 0}, {"0x100000000", false, 0},
                          {"-1", false, 0},         {"12a", false, 0},
                          {"0x", false, 0},         {"1 2", false, 0}};
    for (const Case& c : cases) {
        ULong value = 99;
        EXPECT_EQ(ParseKbNumber(c.text, value), c.ok) << c.text;
        if (c.ok) {
            EXPECT_EQ(value, c.value) << c.text;
        }
    }
}

TEST(KbCsv, DatesArePackedAsDosDates) {
    struct Case {
        const char* text;
        bool ok;
        ULong value;
    };
    const Case cases[] = {{"2021-03-15", true, (41u << 25) | (3u << 21) | (15u << 16)},
                          {"1980-01-01 12:30:58", true, (1u << 21) | (1u << 16) | (12u << 11) | (30u << 5) | 29u},
                          {"", true, 0},
                          {"0x00010000", true, 0x10000},
                          {"2021-13-01", false, 0},
                          {"1979-12-31", false, 0},
                          {"2021-03-15T10:00:00", false, 0}};
    for (const Case& c : cases) {
        ULong value = 99;
        EXPECT_EQ(ParseKbDate(c.text, value), c.ok) << c.text;
        if (c.ok) {
            EXPECT_EQ(value, c.value) << c.text;
        }
    }
}

TEST(KbCsv, QuotedFieldsKeepCommasAndQuotes) {
    std::vector<std::string> fields;
    std::string error;
    ASSERT_TRUE(SplitCsvLine("a,\"b, c\",\"say \"\"hi\"\"\",\r", fields, error));
    EXPECT_EQ(fields, (std::vector<std::string>{"a", "b, c", "say \"hi\"", ""}));
    EXPECT_FALSE(SplitCsvLine("a,\"open", fields, error));
    EXPECT_FALSE(SplitCsvLine("\"x\"y", fields, error));
}

TEST(KbCsv, Crc32MatchesTheCheckValue) {
    EXPECT_EQ(Crc32("123456789", 9), 0xCBF43926u);
    EXPECT_EQ(Crc32("6789", 4, Crc32("12345", 5)), 0xCBF43926u) << "continues across pieces";
    EXPECT_EQ(Crc32("", 0), 0u);
}

TEST(KbCsv, SampleDataBuildsAKnowledgeBaseThatOpens) {
    ScratchFolder folder;
    CTableDatabase db;
    std::string error;
    ASSERT_TRUE(BuildKbFromCsv(NORVIK_TEST_DATA_DIR "/kb", db, error)) << error;
    const std::string path = folder.File("sample.ids");
    kbtest::WriteDatabase(db, path, 4, 0);
    CAuditDBSys kb;
    ASSERT_EQ(kb.Open(path.c_str()), 1);
    const ULong laptop = kb.FindCategory("Laptop");
    EXPECT_EQ(kb.GetCategoryType(laptop), 1u);
    EXPECT_EQ(kb.FindCategory("Base Unit"), kb.FindCategory("PC"));
    CSortList makes;
    EXPECT_EQ(kb.EnumMakes(laptop, makes), 3u);
    CSortList models;
    EXPECT_GE(kb.EnumModels(kb.FindMake(laptop, "Alderwood Systems"), models), 2u);
    CDynaList<ULong> serials;
    EXPECT_EQ(kb.EnumSSRecs(serials), 3u);
    EXPECT_EQ(kb.GetAppName(4, 1), "Quillsoft Scribe 8.0");
}

TEST(KbCsv, BadInputNamesTheFileAndLine) {
    struct Case {
        const char* file;
        const char* text;
        const char* expected;
    };
    const Case cases[] = {
        {"categories.csv", "name\nPC,1\n", "categories.csv:1: the first line must be the header"},
        {"categories.csv", "name,type\nPC,one\n", "categories.csv:2: type \"one\" is not a number"},
        {"categories.csv", "name,type\nPC,1\n# dup\nPC,0\n", "categories.csv:4: category \"PC\""},
        {"makes.csv", "category,name\nNowhere,Alder\n", "makes.csv:2: no category \"Nowhere\""},
        {"files.csv", "publisher,application,version,name,size,size_max,crc,date,key\nQ,S,1,s.exe,1,0,0,,1\n",
         "files.csv:2: no application \"Q > S > 1\""},
        {"applications.csv", "publisher,application,version\nQ,\"S,1\n", "applications.csv:2: a quoted field"},
    };
    for (const Case& c : cases) {
        ScratchFolder folder;
        { std::ofstream(folder.File(c.file)) << c.text; }
        CTableDatabase db;
        std::string error;
        EXPECT_FALSE(BuildKbFromCsv(folder.File("").c_str(), db, error)) << c.file;
        EXPECT_NE(error.find(c.expected), std::string::npos) << error;
    }
}

}  // namespace
