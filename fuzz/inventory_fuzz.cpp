// libFuzzer target for the inventory readers: every input is read as an agent inventory, XML
// or JSON as its first byte says. A refusal is an expected outcome; a crash, a sanitizer report,
// an exception, a refusal without its "NAME: ..." reason, or an accepted inventory without a
// host name, with an identifier the placeholder list should have kept out, or with a MAC
// address that is not in the model's form is a finding.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "import/identifiers.h"
#include "import/inventory_reader.h"

namespace {

void Check(bool holds) {
    if (!holds) std::abort();
}

// A MAC address already in the model's form: the normalised form of itself.
bool IsModelMac(const std::string& mac) { return NormalizeMac(mac) == mac; }

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    Inventory inventory;
    std::string error;
    if (!ReadInventory("fuzz", text, inventory, error)) {
        Check(error.rfind("fuzz: ", 0) == 0 && error.size() > 6);
        return 0;
    }
    Check(!inventory.hostName.empty());
    const InventoryIdentity& identity = inventory.identity;
    Check(identity.biosSerial.empty() || !IsPlaceholderIdentifier(identity.biosSerial));
    Check(identity.systemUuid.empty() || !IsPlaceholderIdentifier(identity.systemUuid));
    for (const std::string& mac : identity.macs) Check(IsModelMac(mac));
    Check(inventory.record.primaryMac.empty() || IsModelMac(inventory.record.primaryMac));
    Check(inventory.record.primaryIPv4.empty() || ParseIPv4(inventory.record.primaryIPv4).has_value());
    return 0;
}
