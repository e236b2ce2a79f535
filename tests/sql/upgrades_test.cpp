// The upgrades run by an accepted offer of Open: converted data, early stops, status lines.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "common/ipaddress.h"
#include "sql/sql_recordset.h"
#include "support/engine_test.h"

namespace {

// A database created at an older schema, filled through a plain connection, then opened with
// the offer accepted and the status lines recorded.
class UpgradeTest : public EngineTest {
protected:
    bool OpenInSetUp() const override { return false; }

    void SetUp() override {
        EngineTest::SetUp();
        answer_ = 6;  // Yes
        raw_.OpenEx(scratch_->ConnectionString().c_str(), CDatabase::noOdbcDialog);
    }
    void TearDown() override {
        raw_.Close();
        EngineTest::TearDown();
    }

    bool OpenWithStatus(TestableNorvikSql& db) {
        db.SetCallback(&UpgradeTest::RecordStatus, reinterpret_cast<CallbackValue>(this));
        return OpenBackEnd(db);
    }

    ULong Number(const std::string& statement) {
        CSqlRecordset rs(&raw_, statement.c_str());
        return rs.IsEOF() ? 0 : rs.NumberAt(0);
    }
    int StoredVersion() { return static_cast<int>(Number("select _MAJOR*100+_MINOR from VERSION")); }
    // Whether the database holds the index (PostgreSQL keeps the scripts' names in lower case).
    bool HasIndex(const char* name) {
        const CString quoted = CSqlDatabase::SqlQuote(name);
        return Number((IsSqlite() ? "select count(*) from sqlite_master where type = 'index' and name = " + quoted
                                  : "select count(*) from pg_indexes where indexname = lower(" + quoted + ")")
                          .str()) != 0;
    }

    // An HW row as the hardware tree writes it; returns its _ID.
    ULong AddHw(ULong parent, ULong asset, ULong flags, const char* key, const char* value = "") {
        const CString row = CString::Formatted("%u,%u,%u,", parent, asset, flags) + CSqlDatabase::SqlQuote(key) + "," +
                            CSqlDatabase::SqlQuote(value);
        return raw_.InsertRecord("HW", "_PARENT,_ASSET,_FLAGS,_KEY,_VAL", row);
    }
    // The "Hardware|CPU" categories; returns the CPU's _ID.
    ULong AddCpuCategory() { return AddHw(AddHw(0, 0, 1, "Hardware"), 0, 1, "CPU"); }

    // The status lines of an upgrade whose step says `upgrading`, then of the index set it brings.
    static std::vector<std::string> UpgradeThenIndexSteps(const char* upgrading) {
        return {upgrading, "Creating index IX_HW_KEY_VAL", "Creating index IX_APPINST_APP_ASSET_VERSION_ID",
                "Dropping index IX_HW_KEY", "Dropping index IX_APPINST_APP"};
    }
    static int RecordStatus(int code, CallbackValue value, CallbackValue context) {
        auto* self = reinterpret_cast<UpgradeTest*>(context);
        if (code == 1) self->status_.emplace_back(reinterpret_cast<const char*>(value));
        return 1;
    }

    // Counts the UPDATE statements sent to `table` from now on (on SQLite, which has row triggers
    // only, the rows they change); Number("select count(*) from UPDLOG") tells how many.
    void CountUpdateStatements(const char* table) {
        raw_.ExecuteStatement("create table UPDLOG (_N integer)");
        if (IsSqlite()) {
            raw_.ExecuteStatement(CString::Formatted(
                "create trigger COUNT_UPD after update on %s begin insert into UPDLOG values (1); end", table));
            return;
        }
        raw_.ExecuteStatement(
            "create function count_upd() returns trigger language plpgsql as $$ begin insert into UPDLOG values "
            "(1); return null; end; $$");
        raw_.ExecuteStatement(CString::Formatted(
            "create trigger COUNT_UPD after update on %s for each statement execute function count_upd()", table));
    }

    CSqlDatabase raw_;
    std::vector<std::string> status_;
};

// The 7.08 layout stores each range end as a 32-bit number written with "%d".
std::string AsStored(const char* dotted) {
    return std::to_string(static_cast<int>(CIPAddress(CString(dotted)).GetAsNumber()));
}

class UpgradeFrom708 : public UpgradeTest {
protected:
    const char* SchemaVersion() const override { return "7.08"; }

    ULong AddLocation(const std::string& from, const std::string& to) {
        return raw_.InsertRecord("LOCDATA", "_NAME,_PARENT,_TYPE,_IPFROM,_IPTO",
                                 ("'loc',0,0," + from + "," + to).c_str());
    }
};

TEST_P(UpgradeFrom708, RangesBecomeDottedTextsWithOneUpdatePerIdAndAGapInTheIdsAddsNoRow) {
    // Addresses above 127.255.255.255 are negative in the integer column.
    const ULong first = AddLocation(AsStored("192.168.0.1"), AsStored("192.168.0.254"));
    const ULong gap = AddLocation("0", "0");
    const ULong last = AddLocation("0", AsStored("10.0.0.9"));  // no start address: the range goes
    ASSERT_EQ(first, 1u);
    ASSERT_EQ(last, 3u);
    raw_.ExecuteStatement(CString::Formatted("delete from LOCDATA where _ID=%d", static_cast<int>(gap)));
    CountUpdateStatements("LOCDATA");

    ASSERT_TRUE(OpenWithStatus(*db_)) << AllMessages();
    EXPECT_EQ(StoredVersion(), 714);
    EXPECT_EQ(status_, UpgradeThenIndexSteps("Upgrading Database to v7.0.9"));
    ASSERT_EQ(messages_.size(), 1u) << AllMessages();  // the offer only

    EXPECT_EQ(db_->locGetIpRangesFrom(first), "192.168.0.1");
    EXPECT_EQ(db_->locGetIpRangesTo(first), "192.168.0.254");
    EXPECT_EQ(db_->locGetIpRangesFrom(last) + db_->locGetIpRangesTo(last), "");
    EXPECT_EQ(Number("select count(*) from LOCDATA"), 2u) << "the update of the missing id creates no row";
    // Ids 1, 2 and 3 each get one statement; the one of the missing id changes no row, so
    // SQLite's row trigger sees two.
    EXPECT_EQ(Number("select count(*) from UPDLOG"), IsSqlite() ? 2u : 3u);
}

NORVIK_ON_BOTH_ENGINES(UpgradeFrom708);

class UpgradeFrom710 : public UpgradeTest {
protected:
    const char* SchemaVersion() const override { return "7.10"; }
};

class UpgradeFrom712 : public UpgradeTest {
protected:
    const char* SchemaVersion() const override { return "7.12"; }
};

TEST_P(UpgradeFrom710, WithoutCpuCategoryNothingChangesAndTheVersionStays) {
    AddHw(0, 0, 1, "Hardware");  // but no "Hardware|CPU"
    EXPECT_FALSE(OpenWithStatus(*db_));
    EXPECT_EQ(status_, std::vector<std::string>{"Upgrading Database to v7.1.1"});
    ASSERT_EQ(messages_.size(), 2u) << AllMessages();
    EXPECT_EQ(messages_[1],
              "The Audit Database needs upgrading from v7.10 to v7.14.\n\nPlease consult your System Administrator");
    EXPECT_EQ(StoredVersion(), 710);
    EXPECT_EQ(Number("select count(*) from HW where _KEY='System'"), 0u) << "stopped before the categories";
    EXPECT_TRUE(HasIndex("IX_HW_KEY")) << "the indexes stay as they were too";
    EXPECT_FALSE(HasIndex("IX_HW_KEY_VAL"));
}

TEST_P(UpgradeFrom710, NormalisesProcessorsRoundsSpeedsAndAddsTheSystemCategories) {
    const ULong cpu = AddCpuCategory();
    const ULong p4 = AddHw(cpu, 1, 0, "Processor", "Intel(R) Pentium(R) 4 CPU 2.80GHz");
    const ULong measured = AddHw(cpu, 1, 0x7000, "Speed", "2793");
    const ULong withUnit = AddHw(cpu, 2, 0x7000, "Speed", "1995 MHz");
    const ULong words = AddHw(cpu, 4, 0x7000, "Speed", "about 2 GHz");
    const ULong elsewhere = AddHw(AddHw(0, 0, 1, "Other"), 1, 0x7000, "Speed", "2793");
    const ULong zero = AddHw(cpu, 5, 0x7000, "Speed", "0 MHz");

    ASSERT_TRUE(OpenWithStatus(*db_)) << AllMessages();
    EXPECT_EQ(StoredVersion(), 714);
    EXPECT_EQ(status_, UpgradeThenIndexSteps("Upgrading Database to v7.1.1"));
    auto val = [&](ULong id) { return db_->SelectText("HW", "_VAL", id).str(); };
    EXPECT_EQ(val(p4), "Intel Pentium 4");
    EXPECT_EQ(val(measured), "2800");
    EXPECT_EQ(val(withUnit), "2000") << "the unit after the number goes with the rewrite";
    EXPECT_EQ(val(words), "about 2 GHz");
    EXPECT_EQ(val(elsewhere), "2793") << "only speeds under Hardware|CPU";
    EXPECT_EQ(val(zero), "0 MHz") << "a speed of 0 is left as it is";

    // A top-level "System" category with flags 0x171, holding "Windows Security".
    const ULong system = Number("select _ID from HW where _PARENT=0 and _ASSET=0 and _KEY='System' and _FLAGS=369");
    ASSERT_NE(system, 0u);
    EXPECT_EQ(Number("select _FLAGS from HW where _PARENT=" + std::to_string(system) + " and _KEY='Windows Security'"),
              0x211u);
}

NORVIK_ON_BOTH_ENGINES(UpgradeFrom710);

TEST_P(UpgradeFrom712, CleansProcessorNamesAndFreesSelfParentedPeripherals) {
    const ULong cpu = AddCpuCategory();
    const ULong raw = AddHw(cpu, 1, 0, "Processor", "Intel(R) Pentium(R) 4 CPU 2.80GHz");
    const ULong lower = AddHw(cpu, 3, 0, "Processor", "intel(r) celeron");  // "(r)" goes; case stays
    const ULong speed = AddHw(cpu, 1, 0x7000, "Speed", "2793");
    // Only a peripheral that is its own parent moves to no location.
    raw_.ExecuteStatement("insert into ASSET (_ID,_NAME,_LOCATION,_STATUS) values (5,'loop',5,4096)");
    raw_.ExecuteStatement("insert into ASSET (_ID,_NAME,_LOCATION,_STATUS) values (6,'in location 6',6,0)");
    raw_.ExecuteStatement("insert into ASSET (_ID,_NAME,_LOCATION,_STATUS) values (7,'on pc 5',5,4097)");

    ASSERT_TRUE(OpenWithStatus(*db_)) << AllMessages();
    EXPECT_EQ(StoredVersion(), 714);
    EXPECT_EQ(status_, UpgradeThenIndexSteps("Upgrading Database to v7.1.4"));
    EXPECT_EQ(db_->SelectText("HW", "_VAL", raw), "Intel Pentium 4");
    EXPECT_EQ(db_->SelectText("HW", "_VAL", lower), "intel celeron");
    EXPECT_EQ(db_->SelectText("HW", "_VAL", speed), "2793") << "speeds are the 7.11 step's business";
    for (const auto& [asset, location] : {std::pair{5u, 0u}, std::pair{6u, 6u}, std::pair{7u, 5u}})
        EXPECT_EQ(Number("select _LOCATION from ASSET where _ID = " + std::to_string(asset)), location) << asset;
}

// Without "Hardware|CPU" the step stops before any change; with it, a processor name already
// in its normal form is not written again.
TEST_P(UpgradeFrom712, StopsEarlyWithoutCpuAndSkipsNormalisedNames) {
    raw_.ExecuteStatement("insert into ASSET (_ID,_NAME,_LOCATION,_STATUS) values (5,'loop',5,4096)");
    EXPECT_FALSE(OpenWithStatus(*db_));
    EXPECT_EQ(status_, std::vector<std::string>{"Upgrading Database to v7.1.4"});
    EXPECT_EQ(StoredVersion(), 712);
    EXPECT_EQ(Number("select _LOCATION from ASSET where _ID = 5"), 5u) << "stopped before the assets";

    const ULong cpu = AddCpuCategory();
    AddHw(cpu, 1, 0, "Processor", "Intel Pentium 4");
    const ULong raw = AddHw(cpu, 2, 0, "Processor", "Intel(R) Xeon(R)");
    CountUpdateStatements("HW");
    auto again = MakeBackEnd();
    ASSERT_TRUE(OpenWithStatus(*again)) << AllMessages();
    EXPECT_EQ(StoredVersion(), 714);
    EXPECT_EQ(Number("select count(*) from UPDLOG"), 1u) << "only the name that changed";
    EXPECT_EQ(again->SelectText("HW", "_VAL", raw), "Intel Xeon");
}

NORVIK_ON_BOTH_ENGINES(UpgradeFrom712);

// A database at 7.14 created before IX_HW_KEY_VAL replaced IX_HW_KEY is not offered an
// upgrade; UpgradeIndexes (run by `norvik upgrade`) gives it the new index, and a second run
// finds nothing to do.
class UpgradeIndexesAt714 : public UpgradeTest {};

TEST_P(UpgradeIndexesAt714, AnOlderIndexSetIsBroughtToTheNewOneOnce) {
    raw_.ExecuteStatement("drop index IX_HW_KEY_VAL");
    raw_.ExecuteStatement("create index IX_HW_KEY on HW (_KEY)");
    ASSERT_TRUE(OpenWithStatus(*db_)) << AllMessages();
    EXPECT_TRUE(status_.empty());
    EXPECT_EQ(db_->UpgradeIndexes(), 2);
    EXPECT_EQ(status_, (std::vector<std::string>{"Creating index IX_HW_KEY_VAL", "Dropping index IX_HW_KEY"}));
    EXPECT_TRUE(HasIndex("IX_HW_KEY_VAL"));
    EXPECT_TRUE(HasIndex("IX_APPINST_APP_ASSET_VERSION_ID"));
    EXPECT_FALSE(HasIndex("IX_HW_KEY"));
    EXPECT_FALSE(HasIndex("IX_APPINST_APP"));
    EXPECT_TRUE(HasIndex("IX_HISTORY_ASSET_DATE")) << "indexes already there are left alone";
    EXPECT_EQ(db_->UpgradeIndexes(), 0);
    EXPECT_EQ(status_.size(), 2u);
    EXPECT_TRUE(messages_.empty()) << AllMessages();
}

TEST_P(UpgradeIndexesAt714, PostgreSqlTablesGetTheirVacuumThresholdsOnce) {
    if (IsSqlite()) return;  // SQLite has no vacuum thresholds
    raw_.ExecuteStatement("alter table APPINST reset (autovacuum_vacuum_scale_factor)");
    ASSERT_TRUE(OpenWithStatus(*db_)) << AllMessages();
    EXPECT_EQ(db_->UpgradeIndexes(), 1);
    EXPECT_EQ(status_, std::vector<std::string>{"Setting the storage options of APPINST"});
    EXPECT_EQ(Number("select count(*) from pg_class where relname = 'appinst' and "
                     "'autovacuum_vacuum_scale_factor=0.02' = any(reloptions)"),
              1u);
    EXPECT_EQ(db_->UpgradeIndexes(), 0);
}

// SQLite keeps no statistics until ANALYZE runs, and without them its planner read an asset's
// operating system by scanning every HW row with that key, for every asset.
TEST_P(UpgradeIndexesAt714, SqliteGetsThePlannerStatisticsOfAGrownSiteOnce) {
    if (!IsSqlite()) return;
    const auto osLookupPlan = [this] {
        raw_.ExecuteStatement("analyze sqlite_master");  // reads the statistics as they are now
        CSqlRecordset rs(&raw_,
                         "explain query plan select (select min(_VAL) from HW where HW._PARENT = 1 and HW._ASSET = "
                         "A._ID and HW._KEY = 'Name') from ASSET A");
        std::string plan;
        for (; !rs.IsEOF(); rs.MoveNext()) plan += rs.TextAt(3).str() + std::string("\n");
        return plan;
    };
    EXPECT_NE(osLookupPlan().find("IX_HW_PARENT_ASSET_KEY"), std::string::npos) << "a new database has them";
    raw_.ExecuteStatement("delete from sqlite_stat1");
    EXPECT_NE(osLookupPlan().find("IX_HW_KEY_VAL"), std::string::npos) << "the planner's guess without them";
    ASSERT_TRUE(OpenWithStatus(*db_)) << AllMessages();
    EXPECT_EQ(db_->UpgradeIndexes(), 1);
    EXPECT_EQ(status_, std::vector<std::string>{"Writing the query planner's statistics"});
    EXPECT_NE(osLookupPlan().find("IX_HW_PARENT_ASSET_KEY"), std::string::npos) << osLookupPlan();
    EXPECT_EQ(db_->UpgradeIndexes(), 0);
}

TEST_P(UpgradeIndexesAt714, AFailureIsReportedAndChangesNothing) {
    raw_.ExecuteStatement("drop index IX_HW_KEY_VAL");
    raw_.ExecuteStatement("create index IX_HW_KEY on HW (_KEY)");
    // The table the next new index names is gone, so its statement fails after IX_HW_KEY_VAL.
    raw_.ExecuteStatement("drop table NOTES");
    ASSERT_TRUE(OpenWithStatus(*db_)) << AllMessages();
    EXPECT_EQ(db_->UpgradeIndexes(), -1);
    ASSERT_EQ(messages_.size(), 1u);
    EXPECT_NE(messages_[0].find("create index if not exists IX_NOTES_TYPE_TABLE_RECORD on NOTES"), std::string::npos)
        << messages_[0];
    EXPECT_FALSE(HasIndex("IX_HW_KEY_VAL")) << "rolled back";
    EXPECT_TRUE(HasIndex("IX_HW_KEY"));
}

NORVIK_ON_BOTH_ENGINES(UpgradeIndexesAt714);

}  // namespace
