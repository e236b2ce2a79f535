// The site at a glance: assets by category and by operating system, the most installed
// applications and publishers, licence compliance and the assets not audited lately. Built over
// CNorvik alone, for any back end.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "interface/norvik.h"
#include "platform/ctime.h"
#include "report/licence_report.h"

// A name with the number of assets (or installations) it stands for.
struct SiteReportCount {
    std::string name;
    ULong count = 0;
};

struct SiteReportApplication {
    ULong app = 0;
    std::string publisher;
    std::string name;  // without the publisher
    ULong installations = 0;
};

struct SiteReportAsset {
    ULong asset = 0;
    std::string name;
    CTime lastAudit;  // never set: never audited
};

struct SiteReport {
    ULong assets = 0;                                 // every asset, child assets too
    std::vector<SiteReportCount> categories;          // kSiteReportUnknown: no category
    std::vector<SiteReportCount> operatingSystems;    // kSiteReportUnknown: no "Name" under "Operating System"
    std::vector<SiteReportApplication> applications;  // the kSiteReportTop most installed
    std::vector<SiteReportCount> publishers;          // the kSiteReportTop with most installations
    std::vector<LicenceReportRow> licences;           // BuildLicenceReport of the whole site
    std::vector<SiteReportAsset> notAudited;          // never audited first, then oldest first
};

constexpr std::size_t kSiteReportTop = 20;
constexpr int kSiteReportAuditDays = 30;
constexpr const char* kSiteReportUnknown = "Unknown";

// The report as it stands at `now`. Counts come largest first, ties by name (letter case
// ignored). Applications and publishers leave out hidden applications (CNorvik::kAppHidden) and
// count one installation per asset; an aliased row counts on its own. An asset is not audited
// when it never was or more than kSiteReportAuditDays × 24 hours have passed since its last
// audit (one audited exactly that long ago is still current); child assets, audited with their
// computer, and assets with a kAssetUncounted bit are never listed. Failures are reported by
// `db` as its operations do; the sections then hold what was read.
SiteReport BuildSiteReport(CNorvik& db, CTime now);
