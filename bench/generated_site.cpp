// The generated site: its location tree and addresses, its catalogue with a Zipf-like
// popularity curve, and the audits of its computers.
#include "generated_site.h"

#include <algorithm>
#include <random>

namespace {

constexpr const char* kWords[] = {"Studio", "Desk",  "Cloud", "Secure", "Smart",  "Rapid", "Open", "Easy",
                                  "Power",  "Pixel", "Data",  "Net",    "Office", "Media", "Code", "Print"};
constexpr const char* kKinds[] = {"Editor",   "Viewer",  "Manager",   "Player", "Backup", "Sync",
                                  "Monitor",  "Toolkit", "Converter", "Client", "Agent",  "Runtime",
                                  "Designer", "Reader",  "Scanner",   "Console"};
constexpr const char* kMajorPublishers[] = {"Contoso Software", "Fabrikam", "Northwind Traders", "Tailspin Toys",
                                            "Litware"};
// The most popular applications come from the few large publishers.
constexpr int kMajorApps = 100;
constexpr int kVendors = 400;

std::string Numbered(const char* prefix, int number) { return std::string(prefix).append(std::to_string(number)); }

}  // namespace

GeneratedSite::GeneratedSite(SiteShape shape) : m_shape(shape) {
    // Weight 1/rank over the tail: its head is on most computers, its end on a few in a
    // thousand.
    double total = 0;
    for (int rank = 1; rank <= m_shape.catalogue - m_shape.everywhere; ++rank) {
        total += 1.0 / rank;
        m_tail.push_back(total);
    }
}

std::vector<std::string> GeneratedSite::RoomLevels(int room) const {
    const int perSite = m_shape.buildingsPerSite * m_shape.roomsPerBuilding;
    return {Numbered("Site ", room / perSite + 1),
            Numbered("Building ", room / m_shape.roomsPerBuilding % m_shape.buildingsPerSite + 1),
            Numbered("Room ", room % m_shape.roomsPerBuilding + 1)};
}

std::string GeneratedSite::RoomPath(int room) const {
    std::string path;
    for (const std::string& level : RoomLevels(room)) {
        if (!path.empty()) path += '\\';
        path += level;
    }
    return path;
}

namespace {

// 10.SITE.ROOM-IN-SITE.HOST
std::string Address(const SiteShape& shape, int room, int host) {
    const int perSite = shape.buildingsPerSite * shape.roomsPerBuilding;
    std::string text = "10.";
    text.append(std::to_string(room / perSite + 1)).append(".").append(std::to_string(room % perSite + 1));
    return text.append(".").append(std::to_string(host));
}

}  // namespace

std::string GeneratedSite::RangeFrom(int room) const { return Address(m_shape, room, 1); }

std::string GeneratedSite::RangeTo(int room) const { return Address(m_shape, room, 254); }

std::string GeneratedSite::AddressOf(int computer) const {
    return Address(m_shape, computer % Rooms(), computer / Rooms() % kHostsPerRoom + 10);
}

std::string GeneratedSite::AppName(int app) const {
    std::string name = std::string(kWords[app % 16]).append(" ").append(kKinds[app / 16 % 16]);
    if (app >= 256) name.append(" ").append(std::to_string(app / 256 + 1));
    return name;
}

std::string GeneratedSite::AppPublisher(int app) const {
    if (app < kMajorApps) return kMajorPublishers[app % 5];
    return Numbered("Vendor ", app % kVendors + 1);
}

std::vector<int> GeneratedSite::LicensedApps() const {
    std::vector<int> apps;
    for (int i = 0; i < m_shape.licensed; ++i) apps.push_back(i * 5 % m_shape.catalogue);
    return apps;
}

std::vector<int> GeneratedSite::AppsAt(int computer, int audit) const {
    // The computer's own draws, the same for every audit: the first `base` are what its first
    // audit finds; each later audit drops `changesPerAudit` of those (from the end) and takes as
    // many from the draws after them.
    const int base = m_shape.perMachine - m_shape.everywhere;
    const int changes = m_shape.changesPerAudit * audit;
    std::mt19937 random(static_cast<unsigned>(computer) * 2654435761u + 17);
    std::uniform_real_distribution<double> uniform(0, m_tail.back());
    std::vector<char> seen(m_shape.catalogue, 0);
    std::vector<int> draws;
    const int wanted = base + m_shape.changesPerAudit * (m_shape.audits - 1);
    while (static_cast<int>(draws.size()) < wanted) {
        const int rank =
            static_cast<int>(std::upper_bound(m_tail.begin(), m_tail.end(), uniform(random)) - m_tail.begin());
        const int app = m_shape.everywhere + std::min(rank, static_cast<int>(m_tail.size()) - 1);
        if (seen[app]) continue;
        seen[app] = 1;
        draws.push_back(app);
    }
    std::vector<int> apps;
    for (int app = 0; app < m_shape.everywhere; ++app) apps.push_back(app);
    apps.insert(apps.end(), draws.begin(), draws.begin() + (base - changes));
    apps.insert(apps.end(), draws.begin() + base, draws.begin() + base + changes);
    return apps;
}

GeneratedMachine GeneratedSite::Audit(int computer, int audit, int number) const {
    GeneratedMachine machine;
    machine.machine = number ? number : computer + 1;
    machine.address = AddressOf(computer);
    for (const int app : AppsAt(computer, audit)) {
        // About one application in a hundred is upgraded once over the audits, at an audit of
        // its own: a few upgrades per audit.
        const int upgradeAt = (computer * 31 + app * 7) % 100;
        const int minor = upgradeAt >= 1 && upgradeAt <= audit ? 1 : 0;
        std::string version = std::to_string(1 + app % 9);
        version.append(".").append(std::to_string(minor)).append(".0");
        machine.software.push_back({AppName(app), AppPublisher(app), version});
    }
    return machine;
}

std::string GeneratedSite::Inventory(int computer, int audit, int number) const {
    const GeneratedMachine machine = Audit(computer, audit, number);
    return machine.machine % 2 == 0 ? XmlInventory(machine) : JsonInventory(machine);
}
