// Reading and applying one inventory, and telling how it ended.
#include "import/inventory_import.h"

#include "import/inventory_reader.h"

namespace {

// Attempts of one inventory that PostgreSQL chose as a deadlock's or serialisation conflict's
// victim: the engine asks for the transaction to be run again.
constexpr int kConflictAttempts = 3;

// Collects the library's messages of one attempt, so a busy engine can be told from a failure.
struct Messages {
    std::string text;
    static int Collect(const char* message, unsigned int, CallbackValue context) {
        auto* self = reinterpret_cast<Messages*>(context);
        if (message) self->text += std::string(message) + " ";
        return 1;  // IDOK
    }
    bool Busy() const { return text.find("locked") != std::string::npos || text.find("busy") != std::string::npos; }
    bool Conflict() const {
        return text.find("could not serialize") != std::string::npos || text.find("deadlock") != std::string::npos;
    }
};

// Puts the caller's message-box callback back when the import ends.
class BorrowedMessages {
public:
    BorrowedMessages(CNorvik& db, Messages& messages) : m_db(db) {
        m_fn = db.GetMsgBoxCallback(&m_context);
        db.SetMsgBoxCallback(Messages::Collect, reinterpret_cast<CallbackValue>(&messages));
    }
    ~BorrowedMessages() { m_db.SetMsgBoxCallback(m_fn, m_context); }
    BorrowedMessages(const BorrowedMessages&) = delete;
    BorrowedMessages& operator=(const BorrowedMessages&) = delete;

private:
    CNorvik& m_db;
    NorvikMsgBoxCallback m_fn = nullptr;
    CallbackValue m_context = 0;
};

bool Unchanged(const ImportOutcome& o) {
    return !o.newAsset && o.applicationsAdded == 0 && o.applicationsRemoved == 0 && o.hardwareChanges == 0 &&
           !o.recordChanged && o.renamedFrom.empty();
}

}  // namespace

std::string GroupedNumber(ULong value) {
    const std::string digits = std::to_string(value);
    std::string grouped;
    for (std::size_t i = 0; i < digits.size(); ++i) {
        if (i > 0 && (digits.size() - i) % 3 == 0) grouped += ',';
        grouped += digits[i];
    }
    return grouped;
}

std::string CountedText(ULong value, const char* one, const char* many) {
    return GroupedNumber(value) + " " + (value == 1 ? one : many);
}

CInventoryImporter::CInventoryImporter(CNorvik& db, ImportTransactions& transactions, ImportPlacement placement)
    : m_db(db), m_transactions(transactions), m_writer(db, transactions, placement) {}

InventoryImportResult CInventoryImporter::Import(const std::string& name, std::string_view text) {
    InventoryImportResult result;
    Inventory inventory;
    if (!ReadInventory(name, text, inventory, result.error)) {
        result.status = InventoryImportStatus::kDamaged;
        return result;
    }
    return Apply(inventory);
}

InventoryImportResult CInventoryImporter::Apply(const Inventory& inventory) {
    InventoryImportResult result;
    result.hostName = inventory.hostName;
    Messages messages;
    const BorrowedMessages borrowed(m_db, messages);
    for (int attempt = 1;; ++attempt) {
        messages.text.clear();
        if (m_writer.Apply(inventory, result.outcome, result.error)) {
            result.status = InventoryImportStatus::kImported;
            result.error.clear();
            return result;
        }
        if (!messages.Conflict() || attempt == kConflictAttempts) break;
    }
    if (m_transactions.ConnectionLost()) {
        result.status = InventoryImportStatus::kConnectionLost;
        result.error = "the connection to the database was lost";
        return result;
    }
    result.fullInventoryWanted = result.outcome.partialRefused;
    if (!messages.text.empty()) result.error += " (" + messages.text.substr(0, 300) + ")";
    // A refused begin is the engine's write lock still held past the time-out: nothing else
    // refuses one on a live connection.
    const bool busy = messages.Busy() || result.error.find("refused to start") != std::string::npos;
    result.status = busy ? InventoryImportStatus::kBusy : InventoryImportStatus::kFailed;
    return result;
}

const char* ImportStatusWord(const ImportOutcome& outcome) {
    return outcome.newAsset ? "new" : Unchanged(outcome) ? "unchanged" : "changed";
}

std::string DescribeImport(const ImportOutcome& o) {
    if (o.newAsset)
        return "new asset, " + CountedText(o.applications, "application", "applications") + ", " +
               CountedText(o.hardwareValues, "hardware value", "hardware values");
    if (Unchanged(o)) return "unchanged";
    std::string text = CountedText(o.applicationsAdded, "application", "applications") + " added, " +
                       GroupedNumber(o.applicationsRemoved) + " removed, " +
                       CountedText(o.hardwareChanges, "hardware change", "hardware changes");
    if (o.recordChanged) text += ", record changed";
    if (!o.renamedFrom.empty()) text += ", renamed from " + o.renamedFrom;
    return text;
}

std::string DescribeMatch(const ImportOutcome& o, const std::string& hostName) {
    if (o.rule != IdentityRule::kNone) return std::string("matched by ") + IdentityRuleWord(o.rule);
    std::string text = "no machine matched";
    if (!o.otherMachine.empty()) text += ": the asset " + hostName + " is another machine (" + o.otherMachine + ")";
    return text;
}
