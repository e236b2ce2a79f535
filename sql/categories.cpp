// Categories, makes and models: the site's own rows in CAT, MAKE and MODEL and the Knowledge
// Base's, presented under one combined identifier (below 0xFFFF the Knowledge Base's ID, from
// 0xFFFF on a site _ID << 16). Knowledge Base entries come first wherever both are asked for.
#include "kb/auditdbsys.h"
#include "kb/recset.h"
#include "sql/find_or_insert_lock.h"
#include "sql/norvik_sql.h"
#include "sql/row_reading.h"
#include "sql/sql_recordset.h"

namespace {

// The boundary is strict everywhere: 0xFFFF itself is a site identifier (with _ID 0).
bool IsKbId(ULong id) { return id < 0xFFFF; }
int SiteId(ULong id) { return static_cast<int>(id >> 16); }
ULong Combined(ULong siteId) { return siteId << 16; }

}  // namespace

// ---- Finds ----

ULong CNorvikSql::FindCategory(const char* name) {
    if (const ULong kbId = kb().FindCategory(name)) return kbId;
    return Combined(
        FirstNumberReported(CString::Formatted("select _ID from CAT where _NAME=%s", SqlQuote(name).c_str())));
}

ULong CNorvikSql::FindMake(ULong category, const char* name) {
    if (IsKbId(category)) {
        if (const ULong kbId = kb().FindMake(category, name)) return kbId;
    }
    return Combined(FirstNumberReported(CString::Formatted("select _ID from MAKE where _CAT=%d and _NAME=%s",
                                                           static_cast<int>(category), SqlQuote(name).c_str())));
}

ULong CNorvikSql::FindModel(ULong make, const char* name) {
    // The Knowledge Base is asked whatever the make identifier, in its own query language.
    if (kb().FindTable("MODEL") >= 0) {
        CRecSet models(&kb(), CString::Formatted("select * from MODEL where MAKE = %d and NAME = %s",
                                                 static_cast<int>(make), SqlQuote(name).c_str()));
        if (models.IsOpen() && !models.IsEOF()) return models.GetID();
    }
    // Shifted right, unlike every other answer here: kept as callers have always seen it.
    return FirstNumberReported(CString::Formatted("select _ID from MODEL where _MAKE=%d and _NAME=%s",
                                                  static_cast<int>(make), SqlQuote(name).c_str())) >>
           16;
}

// ---- Reads ----

CString CNorvikSql::GetCategoryName(ULong id) {
    return IsKbId(id) ? kb().GetCategoryName(id) : SelectTextReported("CAT", "_NAME", id >> 16);
}

CString CNorvikSql::GetMakeName(ULong id) {
    return IsKbId(id) ? kb().GetMakeName(id) : SelectTextReported("MAKE", "_NAME", id >> 16);
}

CString CNorvikSql::GetModelName(ULong id) {
    return IsKbId(id) ? kb().GetModelName(id) : SelectTextReported("MODEL", "_NAME", id >> 16);
}

ULong CNorvikSql::GetCategoryType(ULong id) {
    if (IsKbId(id)) return kb().GetCategoryType(id);
    return FirstNumberReported(CString::Formatted("select _TYPE from CAT where _ID=%d", SiteId(id)));
}

ULong CNorvikSql::GetMakeCategory(ULong id) {
    return IsKbId(id) ? kb().GetMakeCategory(id) : SelectNumberReported("MAKE", "_CAT", id >> 16);
}

ULong CNorvikSql::GetModelMake(ULong id) {
    return IsKbId(id) ? kb().GetModelMake(id) : SelectNumberReported("MODEL", "_MAKE", id >> 16);
}

// ---- Writes ----

namespace {

// Inserts (quoted name, number) into `columns` of `table` and hands the row out as a combined
// identifier; 0 after a reported failure.
ULong InsertCatalogueRow(CNorvikSql& db, const char* table, const char* columns, const char* name, ULong number) {
    const CString values = CString::Formatted("%s,%d", CSqlDatabase::SqlQuote(name).c_str(), static_cast<int>(number));
    return Combined(InsertReported(db, table, columns, values.c_str()));
}

}  // namespace

void CNorvikSql::SetCategoryName(ULong id, const char* name) {
    ExecuteReported(CString::Formatted("update CAT set _NAME=%s where _ID=%d", SqlQuote(name).c_str(), SiteId(id)));
}

void CNorvikSql::SetMakeName(ULong id, const char* name) {
    ExecuteReported(CString::Formatted("update MAKE set _NAME=%s where _ID=%d", SqlQuote(name).c_str(), SiteId(id)));
}

void CNorvikSql::SetModelName(ULong id, const char* name) {
    ExecuteReported(CString::Formatted("update MODEL set _NAME=%s where _ID = %d", SqlQuote(name).c_str(), SiteId(id)));
}

ULong CNorvikSql::AddCategory(const char* name, ULong type) {
    return InsertCatalogueRow(*this, "CAT", "_NAME,_TYPE", name, type);
}

ULong CNorvikSql::AddMake(ULong category, const char* name) {
    return InsertCatalogueRow(*this, "MAKE", "_NAME,_CAT", name, category);
}

ULong CNorvikSql::AddModel(ULong make, const char* name) {
    return InsertCatalogueRow(*this, "MODEL", "_NAME,_MAKE", name, make);
}

// The lock's key names the level's table, the parent and the name, so only adders of one entry
// wait for each other (on SQLite every writer does). An entry that exists is found without it:
// inside a caller's transaction the lock lasts until that commits, and every importer names the
// same few categories, makes and models, so a lock per find would run them one at a time.
ULong CNorvikSql::FindOrAddCatalogueEntry(int level, ULong parent, const char* name) {
    static const char* const kTables[] = {"CAT", "MAKE", "MODEL"};
    if (level < kCatalogueCategory || level > kCatalogueModel) return 0;
    try {
        const ULong found = FindCatalogueEntry(level, parent, name);
        if (found != 0) return found;
        FindOrInsertLock lock(*this, kTables[level],
                              CString::Formatted("%d\t%s", static_cast<int>(parent), name ? name : "").c_str());
        const ULong id = CNorvik::FindOrAddCatalogueEntry(level, parent, name);
        if (id != 0) lock.Commit();
        return id;
    } catch (const CDBException& e) {
        HandleSqlException(e, "find or add a catalogue entry");
        return 0;
    }
}

template <typename Work>
void CNorvikSql::RunAllOrNothing(Work work) {
    try {
        TransactionScope transaction(*this);
        const ULong failures = m_nReportedFailures;
        work();
        if (m_nReportedFailures == failures) transaction.Commit();
    } catch (const CDBException& e) {
        HandleSqlException(e, "commit");
    }
}

// Deletions go parent first, then the children one by one through the virtual operations, with
// the Knowledge Base left out of the enumeration: a cascade never reaches Knowledge Base entries.
// The cascade is one transaction: a failure anywhere in it deletes nothing.
void CNorvikSql::DeleteCategory(ULong id) {
    RunAllOrNothing([&] {
        if (!ExecuteReported(CString::Formatted("delete from CAT where _ID=%d", SiteId(id)))) return;
        CSortList makes;
        EnumMakes(id, makes, 0);
        for (const CSortItem& make : makes) DeleteMake(make.id);
    });
}

void CNorvikSql::DeleteMake(ULong id) {
    RunAllOrNothing([&] {
        if (!ExecuteReported(CString::Formatted("delete from MAKE where _ID = %d", SiteId(id)))) return;
        CSortList models;
        EnumModels(id, models, 0);
        for (const CSortItem& model : models) DeleteModel(model.id);
    });
}

void CNorvikSql::DeleteModel(ULong id) {
    ExecuteReported(CString::Formatted("delete from MODEL where _ID = %d", SiteId(id)));
}

// ---- Enumerations ----

namespace {

// Appends (_NAME, _ID << 16, 0) for each row of `statement` ("select _ID,_NAME ..."); on a
// failure what was read stays and the failure is reported.
ULong AppendSiteRows(CNorvikSql& db, const CString& statement, CSortList& list) {
    try {
        CSqlRecordset rs(&db, statement);
        for (; !rs.IsEOF(); rs.MoveNext()) list.Add(rs.TextAt(1), Combined(rs.NumberAt(0)), 0);
    } catch (const CDBException& e) {
        db.HandleSqlException(e, statement);
    }
    return list.GetCount();
}

CString ChildrenStatement(const char* table, const char* parentColumn, ULong parent) {
    if (parent == 0) return CString::Formatted("select _ID,_NAME from %s", table);
    return CString::Formatted("select _ID,_NAME from %s where %s=%d", table, parentColumn, static_cast<int>(parent));
}

}  // namespace

ULong CNorvikSql::EnumCategories(CSortList& list, int includeKb) {
    if (includeKb) kb().EnumCategories(list);
    return AppendSiteRows(*this, "select _ID,_NAME from CAT", list);
}

ULong CNorvikSql::EnumMakes(ULong category, CSortList& list, int includeKb) {
    if (includeKb && IsKbId(category)) kb().EnumMakes(category, list);
    return AppendSiteRows(*this, ChildrenStatement("MAKE", "_CAT", category), list);
}

ULong CNorvikSql::EnumModels(ULong make, CSortList& list, int includeKb) {
    if (includeKb && IsKbId(make)) kb().EnumModels(make, list);
    return AppendSiteRows(*this, ChildrenStatement("MODEL", "_MAKE", make), list);
}
