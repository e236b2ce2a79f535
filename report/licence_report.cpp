// The licence compliance report: one pass over the installations, then the few facts of each
// licensed application and of each licence type (read once per type).
#include "report/licence_report.h"

#include <strings.h>

#include <algorithm>
#include <map>

namespace {

struct TypeFacts {
    std::string name;
    ULong flags = 0;
};

// Letter case ignored first, then byte by byte, so the order is total.
bool TextBefore(const std::string& a, const std::string& b) {
    const int folded = strcasecmp(a.c_str(), b.c_str());
    return folded != 0 ? folded < 0 : a < b;
}

}  // namespace

std::vector<LicenceReportRow> BuildLicenceReport(CNorvik& db, ULong scope) {
    CSortList counted;
    db.licenceEnumInstallations(scope, counted);
    // The catalogue rows of the counted applications in one read, not four reads a row.
    CDynaList<ULong> ids;
    for (const CSortItem& item : counted) ids.Add(item.id);
    CDynaList<CNorvik::ApplicationPageRow> catalogue;
    db.applicationGetRows(ids, catalogue);
    std::map<ULong, const CNorvik::ApplicationPageRow*> rowOf;
    for (const CNorvik::ApplicationPageRow& row : catalogue) rowOf.emplace(row.id, &row);
    std::map<ULong, TypeFacts> types;
    std::vector<LicenceReportRow> rows;
    rows.reserve(counted.GetCount());
    for (const CSortItem& item : counted) {
        const auto found = rowOf.find(item.id);
        if (found == rowOf.end()) continue;  // deleted since it was counted
        const CNorvik::ApplicationPageRow& app = *found->second;
        LicenceReportRow row;
        row.app = item.id;
        row.installed = static_cast<int>(item.extra);
        auto known = types.find(app.licenceType);
        if (known == types.end()) {
            CString name;
            TypeFacts facts;
            db.GetLicenceDetails(app.licenceType, name, &facts.flags);
            facts.name = name.str();
            known = types.emplace(app.licenceType, facts).first;
        }
        row.type = known->second.name;
        row.declared = static_cast<int>(app.licenceCount);
        if (known->second.flags & CNorvik::kLicencePerPc) row.difference = row.declared - row.installed;
        row.overUsed = row.difference < 0;
        row.publisher = app.publisher.str();
        row.name = CString(app.name).TrimRight().str();
        rows.push_back(std::move(row));
    }
    std::sort(rows.begin(), rows.end(), [](const LicenceReportRow& a, const LicenceReportRow& b) {
        if (a.overUsed != b.overUsed) return a.overUsed;
        if (a.publisher != b.publisher) return TextBefore(a.publisher, b.publisher);
        if (a.name != b.name) return TextBefore(a.name, b.name);
        return a.app < b.app;
    });
    return rows;
}
