// Writes a generated site into an Audit Database the way a site in service fills: agents'
// inventories through the importer (CInventoryImporter), several writers at once, each on a
// connection of its own; the operator's user-defined fields and licences through CNorvik.
#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "generated_site.h"
#include "kb/auditdbsys.h"
#include "sql/norvik_sql.h"

// What one Grow did.
struct SiteGrowth {
    long imports = 0;
    long failures = 0;
    double seconds = 0;
    std::string firstError;
};

// Requires `site` to outlive the builder. Grow runs its writers on threads of its own; the
// other members run on the caller's thread, on the caller's connection.
class SiteBuilder {
public:
    static constexpr int kUserFields = 10;

    SiteBuilder(const GeneratedSite& site, std::string connect, int writers);
    ~SiteBuilder();

    // Sets up an empty database: location types, the tree of sites, buildings and rooms with
    // the rooms' address ranges, and the user-defined fields.
    void Prepare(CNorvikSql& db) const;
    // Adds computers from..to-1 with every audit each: an audit at a time across them (as a
    // site's agents report one round after another), each computer's user-field values after
    // its first. Progress goes to stderr. `betweenRounds`, when given, runs after each round
    // while no writer is busy.
    SiteGrowth Grow(int from, int to, const std::function<void()>& betweenRounds = {});
    // Gives the licensed applications of a site of `computers` their licences: most a per-PC
    // type whose declared count is a share of the site (some below their installations), the
    // rest a site licence. Returns how many applications took one.
    int SetLicences(CNorvikSql& db, int computers) const;

    // The user-defined field `field` (from 0) and its value on a computer.
    static std::string FieldName(int field);
    static std::string FieldValue(int field, int computer);

private:
    struct Writer;
    const GeneratedSite& m_site;
    const std::string m_connect;
    CAuditDBSys m_kb;
    std::vector<std::unique_ptr<Writer>> m_writers;
};
