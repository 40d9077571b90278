#include "protocol/item_ids.h"

#include <cstdlib>
#include <cstring>

#include "text/numbers.h"
#include "text/text_buffer.h"
#include "text/utf8.h"

namespace tavio {
namespace {

// A unit serial after a status prefix is kept to 31 characters; the unit of a port switch is
// exactly 14 characters (the length of the units' serials), and the battery number text 15.
constexpr std::size_t kUnitSerialCapacity = 32;
constexpr std::size_t kPortControlUnitLength = 14;
constexpr std::size_t kBatteryNumberCapacity = 16;

}  // namespace

std::string format_item_id(const ItemKey& key, const ItemArgs& args) {
  // Put together piece by piece: the menus make dozens of identifiers in a run.
  std::string id = key.name;
  switch (key.suffix) {
    case ItemSuffix::kNone:
      return id;
    case ItemSuffix::kNumber:
    case ItemSuffix::kBatteryNumber:
      id += std::to_string(args.number);
      break;
    case ItemSuffix::kUnitSerial:
      id += args.unit;
      break;
    case ItemSuffix::kPortControl:
      id.append(args.unit).append("_").append(std::to_string(args.number));
      break;
  }
  return cut_text(id, kItemIdCapacity);
}

std::string unit_item_id(const char* prefix, const std::string& serial) {
  return cut_text(std::string(prefix).append(serial), kItemIdCapacity);
}

std::optional<std::string> exact_item_id(const ItemKey& key, const ItemArgs& args) {
  std::string id = format_item_id(key, args);
  // An identifier travels as a JSON text: bytes that are not UTF-8 would come back repaired,
  // naming another unit.
  const std::optional<ItemArgs> read = read_item_suffix(key, id.c_str());
  if (!utf8_well_formed(id) || !read || read->number != args.number || read->unit != args.unit) {
    return std::nullopt;
  }
  return id;
}

bool item_key_matches(const ItemKey& key, const char* identifier) {
  if (key.suffix == ItemSuffix::kNone) {
    return std::strcmp(identifier, key.name) == 0;
  }
  return std::strncmp(identifier, key.name, std::strlen(key.name)) == 0;
}

std::optional<ItemArgs> read_item_suffix(const ItemKey& key, const char* identifier) {
  const std::string_view suffix = identifier + std::strlen(key.name);
  ItemArgs args;
  switch (key.suffix) {
    case ItemSuffix::kNone:
      break;
    case ItemSuffix::kNumber: {
      const std::optional<int> number = scan_int(suffix.data());
      if (!number) {
        return std::nullopt;
      }
      args.number = *number;
      break;
    }
    case ItemSuffix::kUnitSerial:
      args.unit = cut_text(suffix, kUnitSerialCapacity);
      break;
    case ItemSuffix::kPortControl: {
      // The separator after the unit is skipped without being looked at.
      args.unit = std::string(suffix.substr(0, kPortControlUnitLength));
      const char* port = suffix.size() > kPortControlUnitLength + 1
                             ? suffix.data() + kPortControlUnitLength + 1
                             : "";
      args.number = clamp_to_int(std::strtol(port, nullptr, 10));
      break;
    }
    case ItemSuffix::kBatteryNumber: {
      const std::string text = cut_text(suffix, kBatteryNumberCapacity);
      const int number = clamp_to_int(std::strtol(text.c_str(), nullptr, 10));
      if (number < 0) {
        return std::nullopt;
      }
      args.number = number;
      break;
    }
  }
  return args;
}

}  // namespace tavio
