// The site report: what each section counts, row order, the top cut, the audit-age boundary.
#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "report/site_report.h"
#include "support/engine_test.h"

namespace {

constexpr std::int64_t kDay = 24 * 60 * 60;

using Counts = std::vector<std::pair<std::string, ULong>>;

Counts CountsOf(const std::vector<SiteReportCount>& rows) {
    Counts counts;
    for (const SiteReportCount& row : rows) counts.emplace_back(row.name, row.count);
    return counts;
}

class SiteReportTest : public EngineTest {
protected:
    bool EndsQuiet() const override { return true; }
    const CTime now_{2024, 6, 1, 12, 0, 0};

    ULong Asset(const char* name) { return db_->AddAsset(name, 0, 0, 0, CTime()); }
    void SetCategory(ULong asset, const char* category) {
        if (db_->FindCategory(category) == 0) db_->AddCategory(category, 0);
        ASSERT_NE(db_->userDataAdd(0, asset, "Category", category, CNorvik::kUserDataAsset, 0, CTime()), 0u);
    }
    void SetHw(const char* path, ULong asset, const char* key, const char* value) {
        const ULong category = db_->hwAdd(path, '|', CNorvik::kHwCategory);
        ASSERT_NE(db_->hwAdd(category, asset, 0x2, key, value), 0u);
    }
    void Install(ULong app, int assets, const std::vector<ULong>& on) {
        for (int i = 0; i < assets; ++i) ASSERT_NE(db_->applicationAddInstance(on[i], app, "", "", 0), 0u);
    }
};

TEST_P(SiteReportTest, AssetsAreCountedByCategoryAndOperatingSystemLargestFirst) {
    const SiteReport empty = BuildSiteReport(*db_, now_);
    EXPECT_TRUE(empty.assets == 0 && empty.categories.empty() && empty.operatingSystems.empty() &&
                empty.applications.empty() && empty.publishers.empty() && empty.licences.empty() &&
                empty.notAudited.empty());
    // Without an "Operating System" category a value keyed "Name" elsewhere is no system.
    const ULong first = Asset("first");
    SetHw("Name", first, "Name", "not a system");
    EXPECT_EQ(CountsOf(BuildSiteReport(*db_, now_).operatingSystems), (Counts{{"Unknown", 1}}));
    std::vector<ULong> pcs = {first};
    for (const char* name : {"b", "c", "d", "e", "f"}) pcs.push_back(Asset(name));
    const char* categories[] = {"Laptop", "desktop", "Laptop", "Server", nullptr, "Laptop"};
    const char* systems[] = {"Debian GNU/Linux", "Windows 11", "windows 11", "Debian GNU/Linux", nullptr, nullptr};
    for (std::size_t i = 0; i < pcs.size(); ++i) {
        if (categories[i]) SetCategory(pcs[i], categories[i]);
        if (systems[i]) SetHw(CNorvik::m_szOS, pcs[i], "Name", systems[i]);
    }
    // Other items of the category, and "Name" one level further down, are not the system's name.
    SetHw(CNorvik::m_szOS, pcs[4], "Version", "12");
    SetHw("Operating System|Kernel", pcs[5], "Name", "Linux");
    const SiteReport report = BuildSiteReport(*db_, now_);
    EXPECT_EQ(report.assets, 6u);
    EXPECT_EQ(CountsOf(report.categories), (Counts{{"Laptop", 3}, {"desktop", 1}, {"Server", 1}, {"Unknown", 1}}));
    EXPECT_EQ(CountsOf(report.operatingSystems),
              (Counts{{"Debian GNU/Linux", 2}, {"Unknown", 2}, {"Windows 11", 1}, {"windows 11", 1}}));
}

TEST_P(SiteReportTest, TheTopApplicationsAndPublishersAreTheMostInstalled) {
    std::vector<ULong> pcs;
    for (int i = 0; i < 30; ++i) pcs.push_back(Asset(CString::Formatted("PC%02d", i)));
    // App k is on k+1 assets, so App 24 .. App 06 are the first nineteen; "Aaa" ties with
    // App 05 for the twentieth place and wins it by name.
    std::vector<ULong> apps;
    for (int k = 0; k < 25; ++k) {
        apps.push_back(db_->applicationAdd(k % 2 ? "Odd Soft" : "", CString::Formatted("App %02d", k), 0));
        Install(apps.back(), k + 1, pcs);
    }
    const ULong tie = db_->applicationAdd("Tie", "Aaa", 0);
    Install(tie, 6, pcs);
    const ULong hidden = db_->applicationAdd("Hidden Corp", "Everywhere", CNorvik::kAppHidden);
    Install(hidden, 30, pcs);
    const SiteReport report = BuildSiteReport(*db_, now_);
    ASSERT_EQ(report.applications.size(), kSiteReportTop);
    auto row = [&](std::size_t i) {
        const auto& r = report.applications[i];
        return std::to_string(r.app) + "|" + r.publisher + "|" + r.name + "|" + std::to_string(r.installations);
    };
    EXPECT_EQ(row(0), std::to_string(apps[24]) + "||App 24|25");
    EXPECT_EQ(row(1), std::to_string(apps[23]) + "|Odd Soft|App 23|24");
    EXPECT_EQ(row(18), std::to_string(apps[6]) + "||App 06|7");
    EXPECT_EQ(row(19), std::to_string(tie) + "|Tie|Aaa|6");
    // Publishers count installations; the empty publisher is "Unknown"; hidden rows count nowhere.
    ULong odd = 0, unknown = 0;
    for (int k = 0; k < 25; ++k) (k % 2 ? odd : unknown) += k + 1;
    EXPECT_EQ(CountsOf(report.publishers), (Counts{{"Unknown", unknown}, {"Odd Soft", odd}, {"Tie", 6}}));
}

TEST_P(SiteReportTest, OverUsedLicencesComeFirst) {
    std::vector<ULong> pcs = {Asset("a"), Asset("b"), Asset("c")};
    const ULong seat = db_->AddLicenceType("Seat");
    db_->SetLicenceTypeFlag(seat, CNorvik::kLicencePerPc, 1);
    const ULong editor = db_->applicationAdd("Acme", "Editor", 0), viewer = db_->applicationAdd("Acme", "Viewer", 0);
    Install(editor, 1, pcs);
    Install(viewer, 3, pcs);
    db_->SetAppLicence(editor, static_cast<int>(seat), 5);
    db_->SetAppLicence(viewer, static_cast<int>(seat), 2);
    const SiteReport report = BuildSiteReport(*db_, now_);
    ASSERT_EQ(report.licences.size(), 2u);
    EXPECT_EQ(std::tuple(report.licences[0].app, report.licences[0].overUsed, report.licences[0].difference),
              std::tuple(viewer, true, -1));
    EXPECT_EQ(std::pair(report.licences[1].app, report.licences[1].overUsed), std::pair(editor, false));
}

TEST_P(SiteReportTest, AssetsNotAuditedForThirtyDaysNeverAuditedFirst) {
    const ULong overdue = Asset("overdue"), older = Asset("older"), recent = Asset("recent"), never = Asset("never");
    const ULong child = Asset("child"), retired = Asset("retired");
    const std::pair<ULong, std::int64_t> audits[] = {{Asset("at-limit"), -30 * kDay},
                                                     {overdue, -30 * kDay - 1},
                                                     {older, -400 * kDay},
                                                     {recent, -kDay},
                                                     {Asset("future"), kDay}};
    for (const auto& [asset, age] : audits) db_->SetLastAuditDate(asset, CTime(now_.GetTime() + age));
    db_->SetAssetParent(child, recent, 1, 0, CTime());
    db_->SetAssetStateFlag(retired, 0x4, 1);
    const SiteReport report = BuildSiteReport(*db_, now_);
    EXPECT_EQ(report.assets, 8u) << "child and retired assets still count as assets";
    std::vector<std::pair<ULong, std::string>> listed;
    for (const SiteReportAsset& row : report.notAudited) listed.emplace_back(row.asset, row.name);
    EXPECT_EQ(listed,
              (std::vector<std::pair<ULong, std::string>>{{never, "never"}, {older, "older"}, {overdue, "overdue"}}));
    EXPECT_TRUE(report.notAudited[0].lastAudit.IsNever());
    EXPECT_EQ(report.notAudited[2].lastAudit.GetTime(), now_.GetTime() - 30 * kDay - 1);
    // A second later the asset at the limit is overdue too.
    EXPECT_EQ(BuildSiteReport(*db_, CTime(now_.GetTime() + 1)).notAudited.size(), 4u);
}

NORVIK_ON_BOTH_ENGINES(SiteReportTest);

}  // namespace
