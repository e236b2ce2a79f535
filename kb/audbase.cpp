// The audited files of one computer, as a SWFILE table.
#include "kb/audbase.h"

CTable* CAudBase::GetFiles() {
    const int index = FindTable("SWFILE");
    return index < 0 ? nullptr : &(*this)[static_cast<ULong>(index)];
}

ULong CAudBase::AddFile(const char* name, ULong size, ULong crc, ULong date, ULong folder) {
    CTable* files = GetFiles();
    if (!files) {
        CTable table("SWFILE");
        table.AddColumn("NAME", CTable::typeText);
        table.AddColumn("FOLDER", CTable::typeNumber);
        table.AddColumn("SIZE", CTable::typeNumber);
        table.AddColumn("CRC", CTable::typeNumber);
        table.AddColumn("DATE", CTable::typeNumber);
        AddTable(table);
        files = GetFiles();
    }
    const ULong row = files->AddRow();
    files->SetText(row, kName, name ? name : "");
    files->SetValue(row, kFolder, folder);
    files->SetValue(row, kSize, size);
    files->SetValue(row, kCrc, crc);
    files->SetValue(row, kDate, date);
    return row;
}
