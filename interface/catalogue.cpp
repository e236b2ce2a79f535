// The catalogue's find-or-add, built on the find, enumerate and add operations so that every
// back end has it; a database back end wraps it in a lock on the name.
#include "interface/norvik.h"

ULong CNorvik::FindOrAddCatalogueEntry(int level, ULong parent, const char* name) {
    switch (level) {
        case kCatalogueCategory: {
            const ULong found = FindCategory(name);
            return found != 0 ? found : AddCategory(name, 0);
        }
        case kCatalogueMake: {
            const ULong found = FindMake(parent, name);
            return found != 0 ? found : AddMake(parent, name);
        }
        case kCatalogueModel: {
            // Not FindModel: it answers site models shifted out of their identifier space.
            CSortList models;
            EnumModels(parent, models, 1);
            for (const CSortItem& item : models)
                if (item.text == name) return item.id;
            return AddModel(parent, name);
        }
        default: return 0;
    }
}
