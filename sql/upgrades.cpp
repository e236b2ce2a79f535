// The in-place conversions of older Audit Databases (7.08, 7.10, 7.12) to schema 7.14, run by
// Open when the user accepts the offer. Each is a fixed sequence of statements; the statement
// texts are those existing databases and their administrators know, so they are kept as they are.
#include <cstdlib>
#include <map>
#include <optional>
#include <utility>
#include <vector>

#include "common/formatting.h"
#include "common/ipaddress.h"
#include "sql/norvik_sql.h"
#include "sql/sql_recordset.h"

namespace {

// Field 0 of the first row of `statement` as a number; 0 when there is no row.
ULong FirstNumber(CSqlDatabase& db, const char* statement) {
    CSqlRecordset rs(&db, statement);
    return rs.IsEOF() ? 0 : rs.NumberAt(0);
}

// The "CPU" category below the "Hardware" category; 0 when either is missing, which makes the
// hardware upgrades stop without writing the version.
ULong FindCpuCategory(CSqlDatabase& db) {
    const ULong hardware = FirstNumber(db, "select _ID from HW where _KEY='Hardware'");
    if (hardware == 0) return 0;
    return FirstNumber(
        db, CString::Formatted("select _ID from HW where _PARENT=%d and _KEY='CPU'", static_cast<int>(hardware)));
}

// (_ID, _VAL) of every value row `key` below the CPU category, read and closed before any write.
std::vector<std::pair<ULong, CString>> ReadCpuValues(CSqlDatabase& db, ULong cpu, const char* key) {
    std::vector<std::pair<ULong, CString>> rows;
    const CString statement =
        CString::Formatted("select _ID,_VAL from HW where _PARENT=%d and _KEY='%s'", static_cast<int>(cpu), key);
    for (CSqlRecordset rs(&db, statement); !rs.IsEOF(); rs.MoveNext()) rows.emplace_back(rs.NumberAt(0), rs.TextAt(1));
    return rows;
}

void UpdateHwValues(CSqlDatabase& db, const std::vector<std::pair<ULong, CString>>& rows) {
    for (const auto& [id, value] : rows) {
        db.ExecuteStatement(CString::Formatted("update HW set _VAL=%s where _ID=%d",
                                               CSqlDatabase::SqlQuote(value).c_str(), static_cast<int>(id)));
    }
}

}  // namespace

void CNorvikSql::Update708to709() {
    CallUser(1, reinterpret_cast<CallbackValue>("Upgrading Database to v7.0.9"));
    const ULong last = FirstNumber(*this, "select max(_ID) from LOCDATA");
    // Kept by _ID rather than in arrays of last + 1 entries: one stray huge _ID must not
    // allocate gigabytes. An id without a row reads as 0 either way.
    std::map<ULong, std::pair<ULong, ULong>> ranges;
    {
        CSqlRecordset rs(this, "select _ID,_IPFROM,_IPTO from LOCDATA");
        for (; !rs.IsEOF(); rs.MoveNext()) ranges[rs.NumberAt(0)] = {rs.NumberAt(1), rs.NumberAt(2)};
    }
    std::optional<TransactionScope> transaction;
    switch (GetEngine()) {
        case SqlEngine::PostgreSql:
            // The integers become their decimal text; the updates below rewrite every row anyway.
            ExecuteStatement(
                "alter table LOCDATA alter column _IPFROM type varchar(255), alter column _IPFROM set default ''");
            ExecuteStatement(
                "alter table LOCDATA alter column _IPTO type varchar(255), alter column _IPTO set default ''");
            break;
        case SqlEngine::Sqlite:
            // SQLite cannot change a column's type, and its driver reads a column by the declared
            // type, so a dotted text in an integer column would read back as its first number.
            // The two columns (the last of LOCDATA) are dropped and added again as texts; their
            // values are held above and the rewrite runs in one transaction, so a failure
            // restores the 7.08 table instead of losing the ranges.
            transaction.emplace(*this);
            ExecuteStatement("alter table LOCDATA drop column _IPTO");
            ExecuteStatement("alter table LOCDATA drop column _IPFROM");
            ExecuteStatement(
                "alter table LOCDATA add column _IPFROM varchar(255) default '' "
                "check (length(cast(_IPFROM as blob)) <= 255)");
            ExecuteStatement(
                "alter table LOCDATA add column _IPTO varchar(255) default '' "
                "check (length(cast(_IPTO as blob)) <= 255)");
            break;
        case SqlEngine::Unknown:
            // The server installation this step was written for: its database has this name.
            ExecuteStatement("Alter table Corvan.dbo.LOCDATA alter column _IPFROM varchar(255)");
            ExecuteStatement("Alter table Corvan.dbo.LOCDATA alter column _IPTO varchar(255)");
            break;
    }
    // Every id up to the largest is written, also those without a row, and a range whose start
    // was 0 becomes two empty texts even when its end was set: existing databases were converted
    // this way, and a location without a start address has no range.
    for (ULong id = 1; id != 0 && id <= last; ++id) {
        CString from;
        CString to;
        const auto row = ranges.find(id);
        if (row != ranges.end() && row->second.first != 0) {
            from = CIPAddress(row->second.first).GetAsText();
            to = CIPAddress(row->second.second).GetAsText();
        }
        ExecuteStatement(CString::Formatted("Update LOCDATA set _IPFROM=%s ,_IPTO=%s where _ID=%d",
                                            SqlQuote(from).c_str(), SqlQuote(to).c_str(), static_cast<int>(id)));
    }
    SetVer(7, 14);
    if (transaction) transaction->Commit();
}

void CNorvikSql::Update710to711() {
    CallUser(1, reinterpret_cast<CallbackValue>("Upgrading Database to v7.1.1"));
    const ULong cpu = FindCpuCategory(*this);
    if (cpu == 0) return;

    // Every processor row is rewritten, changed or not.
    auto names = ReadCpuValues(*this, cpu, "Processor");
    for (auto& [id, value] : names) value = NormaliseCpuName(value);
    UpdateHwValues(*this, names);

    std::vector<std::pair<ULong, CString>> speeds;
    for (const auto& [id, value] : ReadCpuValues(*this, cpu, "Speed")) {
        // A value that does not start with a number (or is 0) is no speed: left as it is.
        const ULong mhz = static_cast<ULong>(std::atoi(value.c_str()));
        if (mhz != 0) speeds.emplace_back(id, CString::Formatted("%d", static_cast<int>(RoundCpuSpeed(mhz))));
    }
    UpdateHwValues(*this, speeds);

    // hwAdd reports its own failures and answers 0; the version is then left for the next offer.
    if (FirstNumber(*this, "select _ID from HW where _KEY = 'System'") == 0 && hwAdd("System", '|', 0x171) == 0) return;
    if (hwAdd("System|Windows Security", '|', 0x211) == 0) return;
    SetVer(7, 14);
}

void CNorvikSql::Update712to714() {
    CallUser(1, reinterpret_cast<CallbackValue>("Upgrading Database to v7.1.4"));
    const ULong cpu = FindCpuCategory(*this);
    if (cpu == 0) return;

    // Only names the normalisation changes (byte for byte, case counting) are written.
    std::vector<std::pair<ULong, CString>> changed;
    for (const auto& [id, value] : ReadCpuValues(*this, cpu, "Processor")) {
        CString normalised = NormaliseCpuName(value);
        if (normalised.str() != value.str()) changed.emplace_back(id, std::move(normalised));
    }
    UpdateHwValues(*this, changed);

    // A peripheral (status 0x1000: its _LOCATION is its parent asset) naming itself as its own
    // parent would make every walk up the tree loop; it is moved to no location.
    ExecuteStatement("update ASSET set _LOCATION=0 where _ID=_LOCATION and ((_STATUS & 4096) <> 0)");
    SetVer(7, 14);
}
