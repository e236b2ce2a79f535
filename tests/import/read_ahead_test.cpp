// Reading inventories ahead of their writing.
#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <vector>

#include "import/read_ahead.h"

namespace {

const char kInventory[] = "<REQUEST><CONTENT><HARDWARE><NAME>PC-1</NAME></HARDWARE></CONTENT></REQUEST>";

TEST(ReadAhead, GivesEveryDocumentInOrderWithItsOwnError) {
    const std::vector<std::string> names{"a.xml", "missing.xml", "b.xml", "damaged.xml"};
    InventoryReadAhead reader(names, [](std::size_t index, std::string& text, std::string& error) {
        if (index == 1) {
            error = "missing.xml: no such file";
            return false;
        }
        text = index == 3 ? std::string("<REQUEST><CONTENT>") : std::string(kInventory);
        return true;
    });
    const ReadAheadItem first = reader.Next();
    EXPECT_TRUE(first.parsed);
    EXPECT_EQ(first.inventory.hostName, "PC-1");
    const ReadAheadItem missing = reader.Next();
    EXPECT_FALSE(missing.loaded);
    EXPECT_EQ(missing.error, "missing.xml: no such file");
    EXPECT_TRUE(reader.Next().parsed);
    const ReadAheadItem damaged = reader.Next();
    EXPECT_TRUE(damaged.loaded);
    EXPECT_FALSE(damaged.parsed);
    EXPECT_EQ(damaged.error.rfind("damaged.xml: ", 0), 0u) << damaged.error;
}

TEST(ReadAhead, StopsEarlyWithoutReadingTheRest) {
    std::atomic<int> loads{0};
    {
        InventoryReadAhead reader(
            std::vector<std::string>(100, "x.xml"),
            [&](std::size_t, std::string& text, std::string&) {
                ++loads;
                text = kInventory;
                return true;
            },
            2);
        EXPECT_TRUE(reader.Next().parsed);
    }
    EXPECT_LE(loads.load(), 4);
}

}  // namespace
