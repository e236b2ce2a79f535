// Building a Knowledge Base from CSV: the errors name the file and line of bad input.
#include "kb/kb_csv.h"

#include <gtest/gtest.h>

#include "kb_files.h"

namespace {

TEST(KbCsv, BadInputNamesTheFileAndLine) {
    const struct {
        const char* file;
        const char* text;
        const char* expected;
    } cases[] = {
        {"categories.csv", "name\nPC,1\n", "categories.csv:1: the first line must be the header"},
        {"categories.csv", "name,type\nPC,1\n# dup\nPC,0\n", "categories.csv:4: category \"PC\""},
        {"makes.csv", "category,name\nNowhere,Alder\n", "makes.csv:2: no category \"Nowhere\""},
        {"files.csv", "publisher,application,version,name,size,size_max,crc,date,key\nQ,S,1,s.exe,1,0,0,,1\n",
         "files.csv:2: no application \"Q > S > 1\""},
        {"applications.csv", "publisher,application,version\nQ,\"S,1\n", "applications.csv:2: a quoted field"},
    };
    for (const auto& c : cases) {
        kbtest::ScratchFolder folder;
        { std::ofstream(folder.File(c.file)) << c.text; }
        CTableDatabase db;
        std::string error;
        EXPECT_FALSE(BuildKbFromCsv(folder.File("").c_str(), db, error)) << c.file;
        EXPECT_NE(error.find(c.expected), std::string::npos) << error;
    }
}

}  // namespace
