// The hardware tree on both engines: path walks, value writes and their history, the hiding of
// empty categories, display types, the "IP Address" rule, snapshots and their comparison, and
// the site-wide views.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "common/formatting.h"
#include "sql/sql_recordset.h"
#include "support/engine_test.h"

namespace {

const CTime kWhen(2009, 3, 10, 9, 30, 0);

TEST(HwIcon, FlagsSelectTheHardwareIconTable) {
    const std::pair<ULong, int> cases[] = {
        {0x0000, 15}, {0x0011, 38}, {0x0070, 48}, {0x00B0, 19},
        {0x0100, 46}, {0x0210, 83}, {0xF210, 83}, {0x0220, 15},  // index 34 is past the table: the first entry
    };
    for (const auto& [flags, icon] : cases) EXPECT_EQ(CNorvik::hwIconFromFlags(flags), icon) << std::hex << flags;
}

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
    std::vector<std::string> Texts(const CSortList& list) {
        std::vector<std::string> texts;
        for (const CSortItem& item : list) texts.push_back(item.text.str());
        return texts;
    }
    // Rows come in no defined order (the engines read them through an index on the key).
    std::vector<std::string> SortedTexts(const CSortList& list) {
        std::vector<std::string> texts = Texts(list);
        std::sort(texts.begin(), texts.end());
        return texts;
    }
    ULong Asset(const char* name) { return db_->AddAsset(name, 0, 0, 0, CTime()); }
    struct Record {
        std::string operation, key, value1, value2;
        int kind;
    };
    Record Details(ULong hist) {
        ULong asset = 0;
        int kind = 0;
        CString operation, category, key, user, value1, value2, date;
        db_->historyGetDetails(hist, &asset, &kind, operation, category, key, user, value1, value2, date);
        return {operation.str(), key.str(), value1.str(), value2.str(), kind};
    }
    std::vector<Record> HistoryOf(ULong asset) {
        std::vector<Record> records;
        for (const std::string& id :
             Rows(CString::Formatted("select _ID from HISTORY where _ASSET=%d order by _ID", static_cast<int>(asset))))
            records.push_back(Details(static_cast<ULong>(std::stoul(id))));
        return records;
    }
};

TEST_P(Hardware, PathAddCreatesEachCategoryOnceAsSharedSkeleton) {
    const ULong network = db_->hwAdd("Adapters|Network", '|', 1);
    ASSERT_NE(network, 0u);
    EXPECT_EQ(db_->hwAdd("Adapters|Network", '|', 1), network);
    const std::string adapters = std::to_string(db_->hwFind("Adapters", '|'));
    EXPECT_EQ(Rows("select _PARENT,_ASSET,_FLAGS,_KEY from HW order by _ID"),
              (std::vector<std::string>{"0|0|1|Adapters", adapters + "|0|1|Network"}));
    EXPECT_TRUE(messages_.empty()) << AllMessages();
}

TEST_P(Hardware, PathFindSkipsPiecesThatAreMissing) {
    const ULong network = db_->hwAdd("Adapters|Network", '|', 1);
    const ULong adapters = db_->hwFind("Adapters", '|');
    EXPECT_EQ(db_->hwFind("Adapters|Nothing|Network", '|'), network);
    EXPECT_EQ(db_->hwFind("Nothing|Adapters", '|'), adapters);
    EXPECT_EQ(db_->hwFind("Adapters|Nothing", '|'), adapters);
    EXPECT_EQ(db_->hwFind("Nothing", '|'), 0u);
    EXPECT_EQ(db_->hwFind("", '|'), 0u);
    // Value nodes are never part of a path.
    const ULong pc = Asset("PC1");
    db_->hwAdd(network, pc, 2, "Card", "x");
    EXPECT_EQ(db_->hwFind("Adapters|Network|Card", '|'), network);
}

TEST_P(Hardware, ValueAddTwiceUpdatesTheSameNode) {
    const ULong cpu = db_->hwAdd("Motherboard|Cpu", '|', 1);
    const ULong pc = Asset("PC1");
    const ULong node = db_->hwAdd(cpu, pc, 0x7002, "Speed", "2400");
    ASSERT_NE(node, 0u);
    EXPECT_EQ(db_->hwAdd(cpu, pc, 0x2, "Speed", "2800"), node);
    EXPECT_EQ(db_->hwFind(cpu, pc, "Speed"), node);
    EXPECT_EQ(db_->hwFlags(node), 0x7002u);  // the first add's flags stay
    EXPECT_EQ(db_->hwValueAsString(node), "2800 MHz");
    EXPECT_EQ(db_->hwFind(cpu, Asset("PC2"), "Speed"), 0u);
}

TEST_P(Hardware, DiagnosticParentOfAssetZeroStillStoresTheValue) {
    const ULong node = db_->hwAdd(9, 0, 2, "Probe", "1");
    ASSERT_NE(node, 0u);
    EXPECT_EQ(db_->hwAdd(9, 0, 2, "Probe", "2"), node);
    EXPECT_EQ(db_->hwValueAsString(node), "2");
}

TEST_P(Hardware, SetValWithoutHistoryWritesNoRecord) {
    const ULong pc = Asset("PC1");
    const ULong node = db_->hwAdd(db_->hwAdd("Memory", '|', 1), pc, 0x2002, "Total", "1024");
    EXPECT_EQ(db_->hwSetVal(node, "2048", 0, kWhen), 0u);
    EXPECT_EQ(db_->hwValueAsString(node), "2 KB");
    EXPECT_TRUE(HistoryOf(pc).empty());
}

TEST_P(Hardware, SetValWithHistoryRecordsPathOldNewAndIcon) {
    const ULong pc = Asset("PC1");
    const ULong network = db_->hwAdd("Adapters|Network", '|', 1);
    const ULong node = db_->hwAdd(network, pc, 0x0012, "MAC Address", "00-11");
    const ULong hist = db_->hwSetVal(node, "00-22", 1, kWhen);
    ASSERT_NE(hist, 0u) << AllMessages();
    const Record r = Details(hist);
    EXPECT_EQ(r.operation, "Changed");
    EXPECT_EQ(r.key, "Adapters|Network|MAC Address");
    EXPECT_EQ(r.value1, "00-11");
    EXPECT_EQ(r.value2, "00-22");
    EXPECT_EQ(r.kind, 38);  // icon index 1
    EXPECT_EQ(db_->historyGetAsset(hist), pc);
    EXPECT_EQ(db_->historyGetDate(hist), kWhen);
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

    CSortList roots1, roots2, below1, belowB, belowC;
    EXPECT_EQ(db_->hwEnum(pc1, 0, roots1, 0xFFFFFFFF), 1);
    EXPECT_EQ(Texts(roots1), std::vector<std::string>{"A"});
    db_->hwEnum(pc2, 0, roots2, 0xFFFFFFFF);
    EXPECT_TRUE(Texts(roots2).empty());
    db_->hwEnum(pc1, a, below1, 0xFFFFFFFF);
    EXPECT_EQ(Texts(below1), std::vector<std::string>{"B"});
    db_->hwEnum(pc1, b, belowB, 0xFFFFFFFF);
    EXPECT_EQ(Texts(belowB), std::vector<std::string>{"C"});
    db_->hwEnum(pc1, c, belowC, 0xFFFFFFFF);
    ASSERT_EQ(belowC.GetCount(), 1u);
    EXPECT_EQ(belowC[0].text, "Deep");
    EXPECT_EQ(belowC[0].extra, 2u);

    EXPECT_EQ(db_->hwIsEmpty(pc1, a), 0);
    EXPECT_EQ(db_->hwIsEmpty(pc2, a), 1);
    EXPECT_EQ(db_->hwIsEmpty(pc1, db_->hwFind("A|X", '|')), 1);
    EXPECT_EQ(db_->hwIsEmpty(pc1, c), 0);
}

TEST_P(Hardware, EnumTakesOnlyNodesSharingABitWithTheMask) {
    const ULong pc = Asset("PC1");
    const ULong memory = db_->hwAdd("Memory", '|', 1);
    db_->hwAdd(memory, pc, 0x2002, "Total", "1");
    db_->hwAdd(memory, pc, 0x0008, "Slots", "2");
    db_->hwAdd(memory, pc, 0, "Hidden", "3");
    db_->hwAdd(memory, Asset("PC2"), 0x2, "Other", "4");
    db_->hwAdd(memory, 0, 0x2, "Shared", "5");
    CSortList all, masked, noAsset;
    db_->hwEnum(pc, memory, all, 0xFFFFFFFF);
    EXPECT_EQ(SortedTexts(all), (std::vector<std::string>{"Slots", "Total"}));
    db_->hwEnum(pc, memory, masked, 0x8);
    EXPECT_EQ(Texts(masked), std::vector<std::string>{"Slots"});
    // Asset 0 sees the skeleton alone: its rows are the only ones the statement selects.
    db_->hwEnum(0, memory, noAsset, 0xFFFFFFFF);
    EXPECT_EQ(Texts(noAsset), std::vector<std::string>{"Shared"});
}

TEST_P(Hardware, DisplayTypesFormatTheStoredNumber) {
    const struct {
        ULong flags;
        const char* stored;
        std::string shown;
    } cases[] = {
        {0x2000, "1023", "1023 Bytes"},
        {0x2000, "1048576", "1 MB"},
        {0x2000, "4294967295", "3 GB"},  // past 2 GB: read as unsigned
        {0x3000, "1536", "1.50 GB"},
        {0x3000, "512", "512 MB"},
        {0x4000, "1236677400", FormatDate(CTime(1236677400), '/').str()},
        {0x5000, "3232235777", "192.168.1.1"},
        {0x5000, "-1062731519", "192.168.1.1"},
        {0x5000, "0", ""},
        {0x7000, "2400", "2400 MHz"},
        {0x7000, "abc", "0 MHz"},
        {0x1000, "1536", "1536"},
        {0x6000, "text", "text"},
        {0x0012, "12 KB", "12 KB"},
    };
    for (const auto& c : cases) {
        CString value = c.stored;
        EXPECT_EQ(db_->hwValueAsString(c.flags, value).str(), c.shown) << std::hex << c.flags << " " << c.stored;
        EXPECT_EQ(value.str(), c.shown) << "replaced in place";
    }
    const ULong node = db_->hwAdd(db_->hwAdd("Memory", '|', 1), Asset("PC1"), 0x3002, "Total", "2048");
    EXPECT_EQ(db_->hwValueAsString(node), "2 GB");
    EXPECT_EQ(db_->hwValueAsString(ULong{999999}), "");
}

TEST_P(Hardware, AddressShownDottedOnlyUnderKeysEndingInIPAddress) {
    const ULong network = db_->hwAdd("Adapters|Network", '|', 1);
    const struct {
        const char* key;
        ULong flags;
        const char* shown;
    } cases[] = {
        {"IP Address", 0x5000, "1.0.0.127"},         {"Gateway IP Address", 0x5002, "1.0.0.127"},
        {"Gateway IP Address", 0x1000, "1.0.0.127"},  // any bit of 0x5000 qualifies
        {"IP Addresses", 0x5000, "16777343"},        {"ip address", 0x5000, "16777343"},
        {"Gateway IP Address", 0x2000, "16777343"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.key);
        const ULong pc = Asset(CString::Formatted("PC %s %x", c.key, static_cast<unsigned>(c.flags)));
        db_->hwDelete(pc);
        db_->ExecuteStatement(CString::Formatted("delete from HW where _PARENT=%d", static_cast<int>(network)));
        db_->hwAdd(network, pc, c.flags, c.key, "16777343");
        db_->hwAdd(network, 0, c.flags, c.key, "skeleton rows are not listed");
        CSortList list;
        EXPECT_EQ(db_->hwEnumByAsset(network, c.key, list), 1);
        ASSERT_EQ(list.GetCount(), 1u);
        EXPECT_EQ(list[0].text, c.shown);
        EXPECT_EQ(list[0].id, pc);
        EXPECT_EQ(list[0].extra, 16777343u);
    }
}

TEST_P(Hardware, CategoryPathJoinsNamesFromTheRoot) {
    const ULong c = db_->hwAdd("Sys'tem|100% Ünï|C", '|', 1);
    EXPECT_EQ(db_->hwCatAsString(c, '>'), "Sys'tem>100% Ünï>C");
    EXPECT_EQ(db_->hwCatAsString(db_->hwFind("Sys'tem", '|'), '|'), "Sys'tem");
    const ULong value = db_->hwAdd(c, Asset("PC1"), 2, "Key", "v");
    EXPECT_EQ(db_->hwCatAsString(value, '|'), "Sys'tem|100% Ünï|C");
    EXPECT_EQ(db_->hwCatAsString(0, '|'), "");
    EXPECT_EQ(db_->hwCatAsString(999999, '|'), "");
    EXPECT_TRUE(messages_.empty()) << AllMessages();
}

TEST_P(Hardware, QuotesPercentAndEightBitTextsRoundTrip) {
    const ULong pc = Asset("PC1");
    const ULong cat = db_->hwAdd("O'Neil's|50%_off", '|', 1);
    EXPECT_EQ(db_->hwFind("O'Neil's|50%_off", '|'), cat);
    EXPECT_EQ(db_->hwFind("O'Neil's|50%", '|'), db_->hwFind("O'Neil's", '|'));  // no pattern matching
    const char* key = "Caf\xE9 'x' 100%";
    const char* value = "Gr\xFC\xDF \"quoted\" 'single' %d%s";
    const ULong node = db_->hwAdd(cat, pc, 2, key, value);
    EXPECT_EQ(db_->hwFind(cat, pc, key), node);
    EXPECT_EQ(db_->hwValueAsString(node), value);
    EXPECT_NE(db_->hwSetVal(node, "it's", 1, kWhen), 0u);
    EXPECT_EQ(HistoryOf(pc).back().key, std::string("O'Neil's|50%_off|") + key);
    EXPECT_EQ(HistoryOf(pc).back().value1, value);
    EXPECT_TRUE(messages_.empty()) << AllMessages();
}

TEST_P(Hardware, LongKeysAndValuesAreCutTo255OnInsert) {
    const std::string longText(300, 'k');
    const ULong node = db_->hwAdd(db_->hwAdd("Long", '|', 1), Asset("PC1"), 2, longText.c_str(), longText.c_str());
    ASSERT_NE(node, 0u) << AllMessages();
    EXPECT_EQ(db_->hwValueAsString(node).str(), longText.substr(0, 255));
}

TEST_P(Hardware, DeleteRemovesOneAssetsValuesAndKeepsTheSkeleton) {
    const ULong pc1 = Asset("PC1");
    const ULong pc2 = Asset("PC2");
    const ULong memory = db_->hwAdd("Memory", '|', 1);
    db_->hwAdd(memory, pc1, 2, "Total", "1");
    db_->hwAdd(memory, pc2, 2, "Total", "2");
    EXPECT_EQ(db_->hwDelete(pc1), 1);
    EXPECT_EQ(db_->hwFind(memory, pc1, "Total"), 0u);
    EXPECT_NE(db_->hwFind(memory, pc2, "Total"), 0u);
    EXPECT_EQ(db_->hwFind("Memory", '|'), memory);
}

TEST_P(Hardware, EnumAllListsValuesWithTheirPathAndCanLeaveOutExcluded) {
    const ULong pc = Asset("PC1");
    const ULong cpu = db_->hwAdd("Motherboard|Cpu", '|', 1);
    db_->hwAdd(cpu, pc, 0x7002, "Speed", "2400");
    db_->hwAdd(cpu, pc, 0x0006, "Serial", "S1");
    db_->hwAdd(cpu, Asset("PC2"), 2, "Speed", "1000");
    CHwList all, kept;
    EXPECT_EQ(db_->hwEnumAll(pc, all, 0), 2);
    ASSERT_EQ(all.GetCount(), 2u);
    EXPECT_EQ(all[0].Name(), "Motherboard|Cpu.Speed");
    EXPECT_EQ(all[0].parent, cpu);
    EXPECT_EQ(all[0].value, "2400");
    EXPECT_EQ(all[0].flags, 0x7002u);
    EXPECT_EQ(db_->hwEnumAll(pc, kept, 1), 1);
    EXPECT_EQ(kept[0].key, "Speed");
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
    const std::vector<Record> records = HistoryOf(pc);
    ASSERT_EQ(records.size(), 3u) << AllMessages();
    EXPECT_EQ(records[0].operation, "Changed");
    EXPECT_EQ(records[0].key, "Motherboard|Cpu|Speed");
    EXPECT_EQ(records[0].value1, "2400");
    EXPECT_EQ(records[0].value2, "2800");
    EXPECT_EQ(records[0].kind, 15);
    EXPECT_EQ(records[1].operation, "Added");
    EXPECT_EQ(records[1].key, "Motherboard|Cpu|Added");
    EXPECT_EQ(records[1].value1, "a");
    EXPECT_EQ(records[1].kind, 47);
    EXPECT_EQ(records[2].operation, "Deleted");
    EXPECT_EQ(records[2].key, "Motherboard|Cpu|Removed");
    EXPECT_EQ(records[2].value1, "r");
    EXPECT_EQ(records[2].kind, 49);

    db_->StoreHwHistory(pc, after, after, kWhen);
    EXPECT_EQ(HistoryOf(pc).size(), 3u) << "equal snapshots record nothing";
}

TEST_P(Hardware, GlobalViewsListAcrossAssets) {
    const ULong pc1 = Asset("PC1");
    const ULong pc2 = Asset("PC2");
    const ULong network = db_->hwAdd("Adapters|Network", '|', 1);
    const ULong adapters = db_->hwFind("Adapters", '|');
    db_->hwAdd("Adapters|Video", '|', 1);
    db_->hwAdd(adapters, pc1, 2, "Count", "1");
    db_->hwAdd(adapters, pc2, 2, "Count", "2");
    db_->hwAdd(network, pc1, 0x5002, "IP Address", "16777343");
    db_->hwAdd(network, pc2, 0x5002, "IP Address", "16777344");

    CSortList children;
    EXPECT_EQ(db_->hwEnumGlobal(adapters, 1, children), 3);
    EXPECT_EQ(Texts(children), (std::vector<std::string>{"Network", "Video", "Count"}));
    EXPECT_EQ(children[0].id, network);
    EXPECT_EQ(children[2].id, 0u);

    CSortList values;
    EXPECT_EQ(db_->hwEnumGlobal(network, "IP Address", values, 0), 2);
    EXPECT_EQ(SortedTexts(values), (std::vector<std::string>{"1.0.0.127", "1.0.0.128"}));
    EXPECT_EQ(values[0].id + values[1].id, pc1 + pc2);

    CSortList named;
    db_->hwEnumGlobal("Adapters|Network|IP Address", '|', named, 1);
    EXPECT_EQ(SortedTexts(named), (std::vector<std::string>{"PC1\t1.0.0.127", "PC2\t1.0.0.128"}));

    CSortList category;
    db_->hwEnumGlobal("Adapters", '|', category, 0);
    EXPECT_EQ(category.GetCount(), 3u) << "a key naming a category lists what lies below it";
}

TEST_P(Hardware, OperatingSystemValuesAreFoundByKey) {
    const ULong pc = Asset("PC1");
    CSortList none;
    EXPECT_EQ(db_->osFindValue(pc, "Version"), "");
    EXPECT_EQ(db_->osEnumValues(pc, none), 0);
    const ULong os = db_->hwAdd("Operating System", '|', 1);
    db_->hwAdd("Operating System|Updates", '|', 1);
    db_->hwAdd(os, pc, 0x2, "Version", "5.1");
    db_->hwAdd(os, pc, 0x4002, "Installed", "1236677400");
    EXPECT_EQ(db_->osFindValue(pc, "Version"), "5.1");
    EXPECT_EQ(db_->osFindValue(pc, "Installed"), FormatDate(CTime(1236677400), '/'));
    EXPECT_EQ(db_->osFindValue(pc, "Missing"), "");
    CSortList values;
    EXPECT_EQ(db_->osEnumValues(pc, values), 2);
    EXPECT_EQ(SortedTexts(values), (std::vector<std::string>{"Installed", "Version"}));
}

NORVIK_ON_BOTH_ENGINES(Hardware);

}  // namespace
