// The site builder: writer threads over the importer, and the operator's set-up.
#include "site_builder.h"

#include <chrono>
#include <cstdio>
#include <map>
#include <mutex>
#include <stdexcept>
#include <thread>

#include "import/import_transactions.h"
#include "import/inventory_import.h"
#include "sql/sql_recordset.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr const char* kFields[SiteBuilder::kUserFields] = {
    "Cost Centre",  "Owner",    "Department",   "Asset Tag",        "Purchase Date",
    "Warranty End", "Supplier", "Order Number", "Support Contract", "Disposal Plan"};

}  // namespace

// One writer: a connection used by one thread at a time, with the importer bound to it.
struct SiteBuilder::Writer {
    CNorvikSql db;
    SqlImportTransactions transactions;
    CInventoryImporter importer;

    Writer(CAuditDBSys& kb, const std::string& connect) : db(kb), transactions(db), importer(db, transactions) {
        if (!db.Open(connect.c_str(), nullptr, 0x4)) throw std::runtime_error("site_bench: cannot open " + connect);
    }
};

SiteBuilder::SiteBuilder(const GeneratedSite& site, std::string connect, int writers)
    : m_site(site), m_connect(std::move(connect)) {
    for (int i = 0; i < writers; ++i) m_writers.push_back(std::make_unique<Writer>(m_kb, m_connect));
}

SiteBuilder::~SiteBuilder() = default;

std::string SiteBuilder::FieldName(int field) { return kFields[field]; }

std::string SiteBuilder::FieldValue(int field, int computer) {
    // Cost centres, owners and departments repeat across computers; tags and orders do not.
    const int repeat[] = {40, 5000, 25, 0, 60, 60, 12, 0, 4, 3};
    const int n = repeat[field] ? computer % repeat[field] : computer;
    std::string value = kFields[field];
    if (field == 4 || field == 5) {
        value = std::to_string(2019 + n % 6);
        return value.append("-0").append(std::to_string(1 + n % 9)).append("-15");
    }
    return value.append(" ").append(std::to_string(n + 1));
}

void SiteBuilder::Prepare(CNorvikSql& db) const {
    const ULong siteType = db.AddLocType("Site", 0);
    const ULong buildingType = db.AddLocType("Building", siteType);
    const ULong roomType = db.AddLocType("Room", buildingType);
    std::map<std::string, ULong> added;  // path -> _ID
    for (int room = 0; room < m_site.Rooms(); ++room) {
        const std::vector<std::string> levels = m_site.RoomLevels(room);
        std::string path;
        ULong parent = 0;
        for (std::size_t level = 0; level < levels.size(); ++level) {
            path.append(levels[level]).append("\\");
            ULong& id = added[path];
            if (id == 0) {
                const bool isRoom = level + 1 == levels.size();
                const ULong type = level == 0 ? siteType : isRoom ? roomType : buildingType;
                id = db.locAdd(levels[level].c_str(), parent, type,
                               CIPAddress(CString(isRoom ? m_site.RangeFrom(room).c_str() : "0.0.0.0")),
                               CIPAddress(CString(isRoom ? m_site.RangeTo(room).c_str() : "0.0.0.0")));
                if (id == 0) throw std::runtime_error("site_bench: cannot add location " + path);
            }
            parent = id;
        }
    }
    for (int field = 0; field < kUserFields; ++field) {
        const ULong def = db.userDefAdd(CNorvik::kUserDataAsset | 0x10);  // a text field
        if (def == 0 || !db.userDefSetKey(def, kFields[field], 0))
            throw std::runtime_error("site_bench: cannot add user field " + FieldName(field));
    }
}

SiteGrowth SiteBuilder::Grow(int from, int to, const std::function<void()>& betweenRounds) {
    SiteGrowth growth;
    std::mutex lock;
    std::atomic<long> imports{0};
    const auto start = Clock::now();
    for (int audit = 0; audit < m_site.shape().audits; ++audit) {
        std::atomic<int> next{from};
        std::vector<std::thread> threads;
        for (auto& writer : m_writers)
            threads.emplace_back([&, audit, w = writer.get()] {
                for (int computer = next++; computer < to; computer = next++) {
                    const std::string text = m_site.Inventory(computer, audit);
                    const InventoryImportResult result = w->importer.Import("site", text);
                    bool done = result.status == InventoryImportStatus::kImported;
                    if (done && audit == 0) {
                        // What an operator fills in once a new computer shows up, in one go.
                        const CTime now = CTime::GetCurrentTime();
                        done = w->transactions.Begin();
                        for (int field = 0; done && field < kUserFields; ++field)
                            done = w->db.userDataAdd(0, result.outcome.asset, kFields[field],
                                                     FieldValue(field, computer).c_str(), CNorvik::kUserDataAsset, 0,
                                                     now) != 0;
                        done = done ? w->transactions.Commit() : (w->transactions.Rollback(), false);
                    }
                    const long count = ++imports;
                    if (!done) {
                        std::lock_guard<std::mutex> guard(lock);
                        if (growth.failures++ == 0)
                            growth.firstError = result.error.empty() ? "user fields not written" : result.error;
                    }
                    if (count % 1000 == 0) {
                        const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
                        std::fprintf(stderr, "site_bench: %ld of %ld imports, %.0f s, %.1f/s\n", count,
                                     static_cast<long>(to - from) * m_site.shape().audits, seconds, count / seconds);
                    }
                }
            });
        for (std::thread& thread : threads) thread.join();
        if (betweenRounds) betweenRounds();
    }
    growth.imports = imports;
    growth.seconds = std::chrono::duration<double>(Clock::now() - start).count();
    return growth;
}

int SiteBuilder::SetLicences(CNorvikSql& db, int computers) const {
    ULong perPc = 0, siteLicence = 0;
    CSortList types;
    db.EnumLicenceTypes(types);
    for (const CSortItem& type : types) {
        if (type.text.str() == "Per Seat") perPc = type.id;
        if (type.text.str() == "Site Licence") siteLicence = type.id;
    }
    if (perPc == 0) {
        perPc = db.AddLicenceType("Per Seat");
        db.SetLicenceTypeFlag(perPc, CNorvik::kLicencePerPc, 1);
    }
    if (siteLicence == 0) siteLicence = db.AddLicenceType("Site Licence");
    std::map<std::string, ULong> apps;  // "publisher\tname" -> _ID
    for (CSqlRecordset rs(&db, "select _ID,_MFR,_APP from APPS"); !rs.IsEOF(); rs.MoveNext())
        apps[rs.TextAt(1).str() + "\t" + rs.TextAt(2).str()] = rs.NumberAt(0);
    int set = 0;
    int n = 0;
    for (const int app : m_site.LicensedApps()) {
        const auto found = apps.find(m_site.AppPublisher(app) + "\t" + m_site.AppName(app));
        if (found == apps.end()) continue;
        // Three in four per PC, bought for between a tenth and all of the site.
        const bool seats = n++ % 4 != 0;
        db.SetAppLicence(found->second, static_cast<int>(seats ? perPc : siteLicence),
                         seats ? computers * (1 + n % 10) / 10 : 1);
        ++set;
    }
    return set;
}
