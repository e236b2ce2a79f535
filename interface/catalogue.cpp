// The catalogue's find-or-add, built on the find, enumerate and add operations so that every
// back end has it; a database back end wraps it in a lock on the name.
#include "interface/norvik.h"

ULong CNorvik::FindCatalogueEntry(int level, ULong parent, const char* name) {
    switch (level) {
        case kCatalogueCategory: return FindCategory(name);
        case kCatalogueMake: return FindMake(parent, name);
        case kCatalogueModel: {
            // Not FindModel: it answers site models shifted out of their identifier space.
            CSortList models;
            EnumModels(parent, models, 1);
            for (const CSortItem& item : models)
                if (item.text == name) return item.id;
            return 0;
        }
        default: return 0;
    }
}

ULong CNorvik::FindOrAddCatalogueEntry(int level, ULong parent, const char* name) {
    const ULong found = FindCatalogueEntry(level, parent, name);
    if (found != 0) return found;
    switch (level) {
        case kCatalogueCategory: return AddCategory(name, 0);
        case kCatalogueMake: return AddMake(parent, name);
        case kCatalogueModel: return AddModel(parent, name);
        default: return 0;
    }
}
