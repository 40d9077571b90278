// The router's support library for running off the router: taglist files on plain files under
// TAVIO_ROOT, number lists, and port types from /etc/tavio-host/ports.
// Every function is a C entry point: no exception may leave one, so each catches its own.

#include <cerrno>
#include <climits>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/os.h"
#include "platform/router_paths.h"
#include "platform/router_support.h"

struct taglist {
  std::string path;                                          // the router's path it was loaded from
  std::vector<std::pair<std::string, std::string>> entries;  // in first-seen order
};

namespace tavio {
namespace {

constexpr std::size_t kTaglistKeyCapacity = 128;
// Lines are read whole, so that whatever a save writes loads back the same; a file larger
// than any configuration the router keeps is refused instead, so memory stays bounded.
constexpr std::size_t kTaglistFileMax = std::size_t{1024} * 1024;

bool is_key_char(char c) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_';
}

bool is_blank(char c) { return c == ' ' || c == '\t'; }

bool is_escapable(char c) { return c == '"' || c == '\\' || c == '$' || c == '`'; }

// Parses one line into key and value; false for blanks, comments and anything malformed.
bool parse_taglist_line(std::string_view line, std::string* key, std::string* value) {
  if (!line.empty() && line.back() == '\r') {
    line.remove_suffix(1);
  }
  std::size_t at = 0;
  while (at < line.size() && is_blank(line[at])) {
    ++at;
  }
  const std::size_t key_start = at;
  while (at < line.size() && is_key_char(line[at])) {
    ++at;
  }
  if (at == key_start || at >= line.size() || line[at] != '=') {
    return false;
  }
  key->assign(line.substr(key_start, at - key_start));
  ++at;
  value->clear();
  if (at >= line.size() || line[at] != '"') {
    value->assign(line.substr(at));
    return true;
  }
  for (++at; at < line.size(); ++at) {
    char c = line[at];
    if (c == '"') {
      for (++at; at < line.size(); ++at) {
        if (!is_blank(line[at])) {
          return false;
        }
      }
      return true;
    }
    if (c == '\\' && at + 1 < line.size() && is_escapable(line[at + 1])) {
      c = line[++at];
    }
    value->push_back(c);
  }
  return false;  // no closing quote
}

void set_entry(taglist* list, std::string key, std::string value) {
  for (auto& entry : list->entries) {
    if (entry.first == key) {
      entry.second = std::move(value);
      return;
    }
  }
  list->entries.emplace_back(std::move(key), std::move(value));
}

std::string serialize_taglist(const taglist& list) {
  std::string text;
  for (const auto& entry : list.entries) {
    text += entry.first;
    text += "=\"";
    for (char c : entry.second) {
      if (is_escapable(c)) {
        text += '\\';
      } else if (c == '\n' || c == '\r') {
        c = ' ';  // one entry a line: a value never spans lines
      }
      text += c;
    }
    text += "\"\n";
  }
  return text;
}

}  // namespace
}  // namespace tavio

extern "C" {

taglist_t* load_taglist_ex(const char* path, int /*mode*/, int /*flags*/) {
  if (path == nullptr || path[0] == '\0') {
    return nullptr;
  }
  try {
    const std::optional<std::string> text =
        tavio::read_file_limited(tavio::HostPath::system(path), tavio::kTaglistFileMax);
    if (!text) {
      return nullptr;
    }
    auto list = std::make_unique<taglist>();
    list->path = path;
    std::string key;
    std::string value;
    std::size_t start = 0;
    while (start <= text->size()) {
      std::size_t end = text->find('\n', start);
      if (end == std::string::npos) {
        end = text->size();
      }
      if (tavio::parse_taglist_line(text->substr(start, end - start), &key, &value)) {
        tavio::set_entry(list.get(), key, value);
      }
      start = end + 1;
    }
    return list.release();
  } catch (...) {
    return nullptr;
  }
}

const char* get_taglist_default_ex(const taglist_t* list, const char* def, const char* key_format,
                                   ...) {
  if (list == nullptr || key_format == nullptr) {
    return def;
  }
  char key[tavio::kTaglistKeyCapacity];
  va_list args;
  va_start(args, key_format);
  std::vsnprintf(key, sizeof key, key_format, args);
  va_end(args);
  for (const auto& entry : list->entries) {
    if (entry.first == key) {
      return entry.second.c_str();
    }
  }
  return def;
}

int update_taglist_ex(taglist_t* list, const char* key, const char* value) {
  if (list == nullptr || key == nullptr || key[0] == '\0') {
    return -1;
  }
  for (const char* c = key; *c != '\0'; ++c) {
    if (!tavio::is_key_char(*c)) {
      return -1;
    }
  }
  try {
    tavio::set_entry(list, key, value == nullptr ? "" : value);
    return 0;
  } catch (...) {
    return -1;
  }
}

int save_taglist_ex(taglist_t* list, int /*mode*/) {
  if (list == nullptr) {
    return -1;
  }
  try {
    const bool ok = tavio::replace_file_atomically(tavio::HostPath::system(list->path),
                                                   tavio::serialize_taglist(*list));
    return ok ? 0 : -1;
  } catch (...) {
    return -1;
  }
}

void free_taglist(taglist_t* list) { delete list; }

numlist_t* create_numlist(const char* text) {
  auto* list = static_cast<numlist_t*>(std::calloc(1, sizeof(numlist_t)));
  if (list == nullptr || text == nullptr) {
    return list;
  }
  const char* at = text;
  while (*at != '\0') {
    while (*at == ' ' || *at == '\t' || *at == ',' || *at == '\n' || *at == '\r') {
      ++at;
    }
    const char* end = at;
    while (*end != '\0' && *end != ' ' && *end != '\t' && *end != ',' && *end != '\n' &&
           *end != '\r') {
      ++end;
    }
    if (end == at) {
      break;
    }
    char* stop = nullptr;
    errno = 0;
    const long number = std::strtol(at, &stop, 10);
    // Only a token that is a number from its first to its last character counts.
    const bool whole = stop == end && errno == 0;
    if (whole && number >= INT_MIN && number <= INT_MAX &&
        insert_numlist(list, static_cast<int>(number)) != 0) {
      free_numlist(list);
      return nullptr;
    }
    at = end;
  }
  return list;
}

int insert_numlist(numlist_t* list, int number) {
  if (list == nullptr) {
    return -1;
  }
  void* grown = std::realloc(list->nums, sizeof(int) * static_cast<std::size_t>(list->count + 1));
  if (grown == nullptr) {
    return -1;
  }
  list->nums = static_cast<int*>(grown);
  list->nums[list->count++] = number;
  return 0;
}

void free_numlist(numlist_t* list) {
  if (list != nullptr) {
    std::free(list->nums);
    std::free(list);
  }
}

int get_conn_port_id(int port) { return port; }

int get_physical_type_ex(int conn_port_id, int /*flags*/) {
  taglist_t* ports = load_taglist_ex(tavio::kHostPortsFile, 1, 0);
  if (ports == nullptr) {
    return 0;
  }
  const char* value = get_taglist_default_ex(ports, "", "PORT%d_PHYSICAL_TYPE", conn_port_id);
  const int type = static_cast<int>(std::strtol(value, nullptr, 10));
  free_taglist(ports);
  return type;
}

}  // extern "C"
