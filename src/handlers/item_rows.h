// Item identifiers as the panel sends them back: a fixed name ("systime") or a prefix and
// what follows it ("wan_status_2", "pdu_status_port_" and a unit serial). The value-read and
// value-write tables are rows keyed by ItemKey and walked in order by match_item_row.
#ifndef TAVIO_HANDLERS_ITEM_ROWS_H
#define TAVIO_HANDLERS_ITEM_ROWS_H

#include <cstddef>
#include <optional>
#include <string>

namespace tavio {

/// How the part of an identifier after a row's prefix is read.
enum class ItemSuffix {
  kNone,           ///< no suffix: the identifier is the row's name exactly
  kNumber,         ///< a number as "%d" reads it: "wan_status_2x" is 2, "wan_status_x" fails
  kUnitSerial,     ///< a power unit's serial, cut to 31 characters
  kPortControl,    ///< a 14-character unit serial, one separator, then a port number
  kBatteryNumber,  ///< a battery number as strtol reads it; negative numbers fail
};

/// The name (or prefix) a row answers to and how the rest of the identifier is read.
struct ItemKey {
  const char* name;
  ItemSuffix suffix;
};

/// What an identifier carries after its row's prefix.
struct ItemArgs {
  int number = 0;    ///< kNumber and kBatteryNumber; the port of kPortControl
  std::string unit;  ///< kUnitSerial and kPortControl
};

/// True when identifier is key's name (kNone) or starts with it (every other kind).
[[nodiscard]] bool item_key_matches(const ItemKey& key, const char* identifier);
/// The suffix of an identifier that matches key, read as key says; nothing when it does not
/// read (no number, a negative battery).
[[nodiscard]] std::optional<ItemArgs> read_item_suffix(const ItemKey& key, const char* identifier);

/// The first row (in table order) whose key matches identifier, with what its suffix
/// carries in *args (nothing when the suffix does not read); null when no row matches.
template <typename Row, std::size_t N>
const Row* match_item_row(const Row (&rows)[N], const char* identifier,
                          std::optional<ItemArgs>* args) {
  for (const Row& row : rows) {
    if (item_key_matches(row.key, identifier)) {
      *args = read_item_suffix(row.key, identifier);
      return &row;
    }
  }
  return nullptr;
}

}  // namespace tavio

#endif
