// A site generated for the growth benchmark: computers in a tree of sites, buildings and rooms
// (each room one /24 address range), applications drawn from a catalogue with a long tail of
// rarely installed ones, and audits that add, remove and upgrade a few applications each.
// Pure generation: the same numbers give the same site on every run and every engine.
#pragma once

#include <string>
#include <vector>

#include "generated_inventory.h"

struct SiteShape {
    int sites = 4;
    int buildingsPerSite = 5;
    int roomsPerBuilding = 10;
    int catalogue = 5000;     // applications in the catalogue
    int perMachine = 300;     // applications on each computer
    int everywhere = 20;      // the most popular ones, on every computer
    int changesPerAudit = 3;  // applications removed and as many added between two audits
    int audits = 5;           // audits of each computer
    int licensed = 200;       // applications with a licence
};

// Thread-safe once built (every member is const).
class GeneratedSite {
public:
    explicit GeneratedSite(SiteShape shape = {});

    const SiteShape& shape() const { return m_shape; }
    int Rooms() const { return m_shape.sites * m_shape.buildingsPerSite * m_shape.roomsPerBuilding; }
    // The most computers the rooms' address ranges hold.
    int Capacity() const { return Rooms() * kHostsPerRoom; }

    // The names of the room's site, building and room, from the top; `room` counts from 0
    // across the whole site. The path joins them with "\\".
    std::vector<std::string> RoomLevels(int room) const;
    std::string RoomPath(int room) const;
    // The room's address range.
    std::string RangeFrom(int room) const;
    std::string RangeTo(int room) const;

    // Computer `computer` (from 0) sits in room computer % Rooms(); its primary address.
    std::string AddressOf(int computer) const;
    // Catalogue entry `app` (from 0, the most popular first) as installed at a version.
    std::string AppName(int app) const;
    std::string AppPublisher(int app) const;
    // The catalogue entries of the applications with a licence.
    std::vector<int> LicensedApps() const;

    // Audit `audit` (from 0) of `computer`: the catalogue entries installed then, and the
    // machine as its agent reports it (machine number computer + 1, or `number` when given).
    std::vector<int> AppsAt(int computer, int audit) const;
    GeneratedMachine Audit(int computer, int audit, int number = 0) const;
    // The audit's inventory as an agent sends it: FusionInventory XML for even machine numbers,
    // GLPI JSON for odd ones.
    std::string Inventory(int computer, int audit, int number = 0) const;

private:
    static constexpr int kHostsPerRoom = 240;
    const SiteShape m_shape;
    std::vector<double> m_tail;  // cumulative Zipf weights of entries everywhere..catalogue-1
};
