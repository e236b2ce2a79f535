// The hardware tree on both engines.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <tuple>
#include <vector>

#include "common/formatting.h"
#include "sql/sql_recordset.h"
#include "support/engine_test.h"
#include "support/sort_list_texts.h"

namespace {

const CTime kWhen(2009, 3, 10, 9, 30, 0);

class Hardware : public EngineTest {
protected:
    std::vector<std::string> Rows(const char* statement) {
        std::vector<std::string> rows;
        CSqlRecordset rs(db_.get(), statement);
        for (; !rs.IsEOF(); rs.MoveNext()) {
            std::string row;
            for (short i = 0; i < rs.GetODBCFieldCount(); ++i) row += (i ? "|" : "") + rs.TextAt(i).str();
            rows.push_back(row);
        }
        return rows;
    }
    ULong Asset(const char* name) { return db_->AddAsset(name, 0, 0, 0, CTime()); }
    // "operation|key|value1|value2|kind" of a history record.
    std::string Details(ULong hist) {
        ULong asset = 0;
        int kind = 0;
        CString operation, category, key, user, value1, value2, date;
        db_->historyGetDetails(hist, &asset, &kind, operation, category, key, user, value1, value2, date);
        return operation.str() + "|" + key.str() + "|" + value1.str() + "|" + value2.str() + "|" + std::to_string(kind);
    }
    std::vector<std::string> HistoryOf(ULong asset) {
        std::vector<std::string> records;
        for (const std::string& id :
             Rows(CString::Formatted("select _ID from HISTORY where _ASSET=%d order by _ID", static_cast<int>(asset))))
            records.push_back(Details(static_cast<ULong>(std::stoul(id))));
        return records;
    }
};

TEST_P(Hardware, AddingTwiceReusesTheNodeAndPathFindSkipsMissingPieces) {
    const ULong network = db_->hwAdd("Adapters|Network", '|', 1);
    ASSERT_NE(network, 0u);
    EXPECT_EQ(db_->hwAdd("Adapters|Network", '|', 1), network);
    const ULong adapters = db_->hwFind("Adapters", '|');
    EXPECT_EQ(Rows("select _PARENT,_ASSET,_FLAGS,_KEY from HW order by _ID"),
              (std::vector<std::string>{"0|0|1|Adapters", std::to_string(adapters) + "|0|1|Network"}));
    const std::pair<const char*, ULong> finds[] = {{"Adapters|Nothing|Network", network},
                                                   {"Nothing|Adapters", adapters},
                                                   {"Nothing", 0},
                                                   {"", 0},
                                                   {"Adapters|Network|Card", network}};
    // A value node is never part of a path. Adding it again sets its value but keeps its flags.
    const ULong pc = Asset("PC1");
    const ULong card = db_->hwAdd(network, pc, 0x7002, "Card", "2400");
    EXPECT_EQ(db_->hwAdd(network, pc, 0x2, "Card", "2800"), card);
    EXPECT_EQ(db_->hwFlags(card), 0x7002u);
    EXPECT_EQ(db_->hwValueAsString(card), "2800 MHz");
    EXPECT_EQ(db_->hwFind(network, Asset("PC2"), "Card"), 0u);
    for (const auto& [path, id] : finds) EXPECT_EQ(db_->hwFind(path, '|'), id) << path;
    EXPECT_TRUE(messages_.empty()) << AllMessages();
}

TEST_P(Hardware, EnumHidesCategoriesWithoutValuesOfTheAssetAtAnyDepth) {
    const ULong pc1 = Asset("PC1");
    const ULong pc2 = Asset("PC2");
    const ULong c = db_->hwAdd("A|B|C", '|', 1);
    db_->hwAdd("A|X|Y|Z", '|', 1);
    db_->hwAdd("Empty", '|', 1);
    db_->hwAdd(c, pc1, 2, "Deep", "v");
    const ULong a = db_->hwFind("A", '|');
    const ULong b = db_->hwFind("A|B", '|');

    auto names = [&](ULong asset, ULong parent) {
        CSortList list;
        db_->hwEnum(asset, parent, list, 0xFFFFFFFF);
        return Texts(list);
    };
    EXPECT_EQ(names(pc1, 0), std::vector<std::string>{"A"});
    EXPECT_TRUE(names(pc2, 0).empty());
    EXPECT_EQ(names(pc1, a), std::vector<std::string>{"B"});
    EXPECT_EQ(names(pc1, b), std::vector<std::string>{"C"});
    EXPECT_EQ(db_->hwIsEmpty(pc1, a), 0);
    EXPECT_EQ(db_->hwIsEmpty(pc2, a), 1);
}

TEST_P(Hardware, DisplayTypesFormatTheStoredNumber) {
    // Sizes past 2 GB and addresses past 127.255.255.255 read as unsigned.
    const std::tuple<ULong, const char*, std::string> cases[] = {
        {0x2000, "4294967295", "3 GB"},
        {0x4000, "1236677400", FormatDate(CTime(1236677400), '/').str()},
        {0x5000, "3232235777", "192.168.1.1"},
        {0x5000, "-1062731519", "192.168.1.1"},
        {0x5000, "0", ""},
        {0x7000, "2400", "2400 MHz"},
        {0x6000, "text", "text"},
        {0x0012, "12 KB", "12 KB"}};
    for (const auto& [flags, stored, shown] : cases) {
        CString value = stored;
        EXPECT_EQ(db_->hwValueAsString(flags, value).str(), shown) << std::hex << flags << " " << stored;
        EXPECT_EQ(value.str(), shown) << "replaced in place";
    }
    EXPECT_EQ(db_->hwValueAsString(ULong{999999}), "");
}

TEST_P(Hardware, AddressShownDottedOnlyUnderKeysEndingInIPAddress) {
    const ULong pc = Asset("PC1");
    const std::tuple<const char*, ULong, const char*> cases[] = {
        {"IP Address", 0x5000, "1.0.0.127"},         {"Gateway IP Address", 0x5002, "1.0.0.127"},
        {"Gateway IP Address", 0x1000, "1.0.0.127"},  // any bit of 0x5000 qualifies
        {"IP Addresses", 0x5000, "16777343"},        {"ip address", 0x5000, "16777343"},
        {"Gateway IP Address", 0x2000, "16777343"}};
    for (const auto& [key, flags, shown] : cases) {
        SCOPED_TRACE(key);
        const ULong network = db_->hwAdd(CString::Formatted("Adapters|%s %x", key, unsigned(flags)), '|', 1);
        db_->hwAdd(network, pc, flags, key, "16777343");
        db_->hwAdd(network, 0, flags, key, "skeleton rows are not listed");
        CSortList list;
        EXPECT_EQ(db_->hwEnumByAsset(network, key, list), 1);
        ASSERT_EQ(list.GetCount(), 1u);
        EXPECT_EQ(list[0].text, shown);
        EXPECT_EQ(list[0].id, pc);
        EXPECT_EQ(list[0].extra, 16777343u);
    }
}

TEST_P(Hardware, FindByValueAnswersEveryHolderOfTheExactValueUnderItsCategoryOnly) {
    const ULong pc1 = Asset("PC1"), pc2 = Asset("PC2"), pc3 = Asset("PC3");
    const ULong system = db_->hwAdd("System", '|', 1), bios = db_->hwAdd("BIOS", '|', 1);
    db_->hwAdd(system, pc1, 0x2, "Serial Number", "S-1'x");
    db_->hwAdd(system, pc2, 0x2, "Serial Number", "S-2");
    db_->hwAdd(system, pc3, 0x2, "Serial Number", "S-2");
    db_->hwAdd(bios, pc1, 0x2, "Serial Number", "S-2");  // another category
    db_->hwAdd(system, pc1, 0x2, "UUID", "S-2");         // another key
    const auto holders = [&](const char* value) {
        CDynaList<ULong> assets;
        db_->hwFindAssetsByValue(system, "Serial Number", value, assets);
        std::vector<ULong> found(assets.begin(), assets.end());
        std::sort(found.begin(), found.end());
        return found;
    };
    EXPECT_EQ(holders("S-1'x"), std::vector<ULong>{pc1});
    EXPECT_EQ(holders("S-2"), (std::vector<ULong>{pc2, pc3}));
    EXPECT_TRUE(holders("s-2").empty());  // compared as stored
    EXPECT_TRUE(holders("S-%").empty());  // no pattern matching
    EXPECT_TRUE(messages_.empty()) << AllMessages();
}

TEST_P(Hardware, AddValuesReplacesFoundKeysInsertsTheOthersAndTheLastOfTwoWins) {
    const ULong pc = Asset("PC1"), other = Asset("PC2");
    const ULong system = db_->hwAdd("System", '|', 1), disks = db_->hwAdd("Disks", '|', 1);
    const ULong kept = db_->hwAdd(system, pc, 0x2, "Model", "old");
    db_->hwAdd(system, other, 0x2, "Model", "other's");
    const std::string longText(300, 'x');
    CHwList values;
    values.Add(system, "System", "Model", "new 'quoted'", 0x2);
    values.Add(system, "System", "Memory", "2147483648", 0x80000002);
    values.Add(disks, "Disks", "Size", "first", 0x2);
    values.Add(disks, "Disks", "Size", "last", 0x2);
    values.Add(disks, "Disks", longText.c_str(), longText.c_str(), 0x2);
    // Past one batch of statement text.
    for (int i = 0; i < 450; ++i) values.Add(disks, "Disks", CString::Formatted("Disk %d", i), "1", 0x2);
    ASSERT_EQ(db_->hwAddValues(pc, values), 1) << AllMessages();

    EXPECT_EQ(db_->hwFind(system, pc, "Model"), kept) << "the node found keeps its identity";
    EXPECT_EQ(db_->hwValueAsString(kept), "new 'quoted'");
    EXPECT_EQ(db_->hwFlags(db_->hwFind(system, pc, "Memory")), 0x80000002u);
    EXPECT_EQ(db_->hwValueAsString(db_->hwFind(disks, pc, "Size")), "last");
    EXPECT_EQ(Rows("select _KEY from HW where _KEY like 'xxx%'"), std::vector<std::string>{longText.substr(0, 255)});
    CHwList stored;
    EXPECT_EQ(db_->hwEnumAll(pc, stored, 0), 4 + 450);
    EXPECT_EQ(db_->hwValueAsString(db_->hwFind(system, other, "Model")), "other's");
    EXPECT_TRUE(messages_.empty()) << AllMessages();
}

TEST_P(Hardware, SetValRecordsPathOldNewAndIconOnlyWhenAsked) {
    const ULong pc = Asset("PC1");
    const ULong cat = db_->hwAdd("O'Neil's|50%_off", '|', 1);
    EXPECT_EQ(db_->hwFind("O'Neil's|50%_off", '|'), cat);
    EXPECT_EQ(db_->hwFind("O'Neil's|50%", '|'), db_->hwFind("O'Neil's", '|'));  // no pattern matching
    const char* key = "Caf\xE9 'x' 100%";
    const char* value = "Gr\xFC\xDF \"quoted\" 'single' %d%s";
    const ULong node = db_->hwAdd(cat, pc, 0x0012, key, value);
    EXPECT_EQ(db_->hwFind(cat, pc, key), node);
    EXPECT_EQ(db_->hwValueAsString(node), value);
    EXPECT_EQ(db_->hwSetVal(node, "it's", 0, kWhen), 0u);
    EXPECT_TRUE(HistoryOf(pc).empty());
    const ULong hist = db_->hwSetVal(node, value, 1, kWhen);
    ASSERT_NE(hist, 0u) << AllMessages();
    EXPECT_EQ(Details(hist), std::string("Changed|O'Neil's|50%_off|") + key + "|it's|" + value + "|38");
    EXPECT_EQ(db_->historyGetAsset(hist), pc);
    EXPECT_EQ(db_->historyGetDate(hist), kWhen);
    EXPECT_TRUE(messages_.empty()) << AllMessages();
}

TEST_P(Hardware, StoreHistoryRecordsAddedChangedAndDeletedItems) {
    const ULong pc = Asset("PC1");
    const ULong cpu = db_->hwAdd("Motherboard|Cpu", '|', 1);
    db_->hwAdd(cpu, pc, 0x7002, "Speed", "2400");
    db_->hwAdd(cpu, pc, 0x0012, "Same", "s");
    const ULong gone = db_->hwAdd(cpu, pc, 0x0022, "Removed", "r");
    CHwList before;
    db_->hwEnumAll(pc, before, 0);
    db_->hwAdd(cpu, pc, 0x7002, "Speed", "2800");
    db_->ExecuteStatement(CString::Formatted("delete from HW where _ID=%d", static_cast<int>(gone)));
    db_->hwAdd(cpu, pc, 0x0032, "Added", "a");
    CHwList after;
    db_->hwEnumAll(pc, after, 0);

    db_->StoreHwHistory(pc, before, after, kWhen);
    EXPECT_EQ(HistoryOf(pc),
              (std::vector<std::string>{"Changed|Motherboard|Cpu|Speed|2400|2800|15",
                                        "Added|Motherboard|Cpu|Added|a||47", "Deleted|Motherboard|Cpu|Removed|r||49"}))
        << AllMessages();

    db_->StoreHwHistory(pc, after, after, kWhen);
    EXPECT_EQ(HistoryOf(pc).size(), 3u) << "equal snapshots record nothing";
}

NORVIK_ON_BOTH_ENGINES(Hardware);

}  // namespace
