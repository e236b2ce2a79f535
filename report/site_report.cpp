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

std::vector<SiteReportApplication> InstalledApplications(CNorvik& db) {
    CSortList installed;
    const CDynaList<ULong> wholeSite;
    db.EnumGlobalSwApplications(wholeSite, installed, 0, 0, 0, 1, nullptr, CNorvik::kAppHidden);
    CDynaList<ULong> ids;
    for (const CSortItem& item : installed) ids.Add(item.id);
    CDynaList<CNorvik::ApplicationPageRow> catalogue;
    db.applicationGetRows(ids, catalogue);
    std::unordered_map<ULong, std::string> publisherOf;
    for (const CNorvik::ApplicationPageRow& row : catalogue) publisherOf.emplace(row.id, row.publisher.str());
    std::vector<SiteReportApplication> rows;
    rows.reserve(installed.GetCount());
    for (const CSortItem& item : installed)
        rows.push_back(SiteReportApplication{item.id, publisherOf[item.id], item.text.str(), item.extra});
    return rows;
}

std::vector<SiteReportApplication> TopApplications(std::vector<SiteReportApplication> rows) {
    const auto before = [](const SiteReportApplication& a, const SiteReportApplication& b) {
        if (a.installations != b.installations) return a.installations > b.installations;
        if (a.name != b.name) return NameBefore(a.name, b.name);
        return a.app < b.app;
    };
    const std::size_t kept = std::min(rows.size(), kSiteReportTop);
    std::partial_sort(rows.begin(), rows.begin() + static_cast<std::ptrdiff_t>(kept), rows.end(), before);
    rows.resize(kept);
    return rows;
}

// Installations per publisher; the empty publisher is "Unknown".
std::vector<SiteReportCount> TopPublishers(const std::vector<SiteReportApplication>& installed) {
    std::map<std::string, ULong> counts;
    for (const SiteReportApplication& app : installed)
        counts[app.publisher.empty() ? "Unknown" : app.publisher] += app.installations;
    std::vector<SiteReportCount> rows = Ranked(counts);
    if (rows.size() > kSiteReportTop) rows.resize(kSiteReportTop);
    return rows;
}

}  // namespace

SiteReport BuildSiteReport(CNorvik& db, CTime now) {
    SiteReport report;
    // Every asset (child assets too) with its category, operating system, status and audit date,
    // in two statements whatever the site's size: the count, then all its rows.
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
        ++operatingSystems[asset.os.IsEmpty() ? kSiteReportUnknown : asset.os.str()];

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

    std::vector<SiteReportApplication> installed = InstalledApplications(db);
    report.publishers = TopPublishers(installed);
    report.applications = TopApplications(std::move(installed));
    report.licences = BuildLicenceReport(db, 0);
    return report;
}
