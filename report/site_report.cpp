// The site report: a handful of site-wide enumerations, then one pass over the assets, whose
// rows (category, audit date, status) the back end reads for the whole site in one statement.
#include "report/site_report.h"

#include <strings.h>

#include <algorithm>
#include <cstdint>
#include <map>
#include <unordered_map>

namespace {

// Letter case ignored first, then byte by byte, so the order is total.
bool NameBefore(const std::string& a, const std::string& b) {
    const int folded = strcasecmp(a.c_str(), b.c_str());
    return folded != 0 ? folded < 0 : a < b;
}

bool CountBefore(const SiteReportCount& a, const SiteReportCount& b) {
    return a.count != b.count ? a.count > b.count : NameBefore(a.name, b.name);
}

std::vector<SiteReportCount> Ranked(const std::map<std::string, ULong>& counts) {
    std::vector<SiteReportCount> rows;
    rows.reserve(counts.size());
    for (const auto& [name, count] : counts) rows.push_back(SiteReportCount{name, count});
    std::sort(rows.begin(), rows.end(), CountBefore);
    return rows;
}

// Each asset's operating system name, read across the site in one enumeration. Looked up
// under the category itself: a path walk would skip a missing category and find root keys.
std::unordered_map<ULong, std::string> OperatingSystems(CNorvik& db) {
    std::unordered_map<ULong, std::string> names;
    const ULong category = db.hwFind(CNorvik::m_szOS, '|');
    if (category == 0) return names;
    CSortList values;
    db.hwEnumGlobal(category, "Name", values, 0);
    for (const CSortItem& item : values)
        if (!item.text.IsEmpty()) names.emplace(item.id, item.text.str());
    return names;
}

std::vector<SiteReportApplication> TopApplications(CNorvik& db) {
    CSortList installed;
    const CDynaList<ULong> wholeSite;
    db.EnumGlobalSwApplications(wholeSite, installed, 0, 0, 0, 1, nullptr, CNorvik::kAppHidden);
    std::vector<SiteReportApplication> rows;
    rows.reserve(installed.GetCount());
    for (const CSortItem& item : installed)
        rows.push_back(SiteReportApplication{item.id, std::string(), item.text.str(), item.extra});
    // Publishers are only read for the applications kept, so ties are broken by name alone.
    const auto before = [](const SiteReportApplication& a, const SiteReportApplication& b) {
        if (a.installations != b.installations) return a.installations > b.installations;
        if (a.name != b.name) return NameBefore(a.name, b.name);
        return a.app < b.app;
    };
    const std::size_t kept = std::min(rows.size(), kSiteReportTop);
    std::partial_sort(rows.begin(), rows.begin() + static_cast<std::ptrdiff_t>(kept), rows.end(), before);
    rows.resize(kept);
    for (SiteReportApplication& row : rows) row.publisher = db.GetAppPublisher(row.app, 0).str();
    return rows;
}

std::vector<SiteReportCount> TopPublishers(CNorvik& db) {
    CSortList publishers;
    db.EnumGlobalSwAppPublishers(0, publishers, 0);
    std::vector<SiteReportCount> rows;
    rows.reserve(publishers.GetCount());
    for (const CSortItem& item : publishers) rows.push_back(SiteReportCount{item.text.str(), item.extra});
    std::sort(rows.begin(), rows.end(), CountBefore);
    if (rows.size() > kSiteReportTop) rows.resize(kSiteReportTop);
    return rows;
}

}  // namespace

SiteReport BuildSiteReport(CNorvik& db, CTime now) {
    SiteReport report;
    const std::unordered_map<ULong, std::string> systems = OperatingSystems(db);
    // Every asset (child assets too) with its category, status and audit date, in two
    // statements whatever the site's size: the count, then all its rows.
    CNorvik::AssetPageQuery everything;
    everything.limit = 0;
    CDynaList<CNorvik::AssetPageRow> assets;
    everything.limit = db.assetEnumPage(everything, assets);
    if (everything.limit != 0) db.assetEnumPage(everything, assets);
    report.assets = assets.GetCount();

    constexpr std::int64_t kAuditAge = std::int64_t{kSiteReportAuditDays} * 24 * 60 * 60;
    std::map<std::string, ULong> categories;
    std::map<std::string, ULong> operatingSystems;
    std::unordered_map<ULong, std::string> categoryNames;  // each category's name read once
    for (const CNorvik::AssetPageRow& asset : assets) {
        std::string category;
        if (asset.category != 0) {
            auto found = categoryNames.find(asset.category);
            if (found == categoryNames.end())
                found = categoryNames.emplace(asset.category, db.GetCategoryName(asset.category).str()).first;
            category = found->second;
        }
        ++categories[category.empty() ? kSiteReportUnknown : category];
        const auto system = systems.find(asset.id);
        ++operatingSystems[system == systems.end() ? kSiteReportUnknown : system->second];

        if (asset.status & (CNorvik::kAssetChild | CNorvik::kAssetUncounted)) continue;
        const CTime audited = asset.lastAudit;
        if (audited.IsNever() || now.GetTime() - audited.GetTime() > kAuditAge)
            report.notAudited.push_back(SiteReportAsset{asset.id, asset.name.str(), audited});
    }
    report.categories = Ranked(categories);
    report.operatingSystems = Ranked(operatingSystems);
    std::sort(report.notAudited.begin(), report.notAudited.end(),
              [](const SiteReportAsset& a, const SiteReportAsset& b) {
                  if (a.lastAudit != b.lastAudit) return a.lastAudit < b.lastAudit;
                  if (a.name != b.name) return NameBefore(a.name, b.name);
                  return a.asset < b.asset;
              });

    report.applications = TopApplications(db);
    report.publishers = TopPublishers(db);
    report.licences = BuildLicenceReport(db, 0);
    return report;
}
