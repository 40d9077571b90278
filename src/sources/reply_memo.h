// Replies of read-only tool calls, kept for the rest of the run: a menu or a list of values
// asks for the same WAN list or unit status several times, and each tool run costs far more
// on the router than tavio's own work. Writes and actions are never kept; one of them makes
// what it changes stale, so its caller forgets those replies. A call is known by its whole
// argument vector: two calls share a reply only when every argument is the same.
#ifndef TAVIO_SOURCES_REPLY_MEMO_H
#define TAVIO_SOURCES_REPLY_MEMO_H

#include <functional>
#include <string>
#include <vector>

#include "tavio/json_ref.h"

namespace tavio {

/// A call as the memo knows it: its source ("api", "capwap_cli"), then what makes its reply
/// differ.
using ReplyKey = std::vector<std::string>;

/// key's reply: the one kept in this run, or else what ask gives, kept from now on. A failed
/// call's null is kept as well: asking a tool that did not answer again only costs time.
[[nodiscard]] JsonPtr kept_or_asked(ReplyKey key, const std::function<JsonPtr()>& ask);
/// Forgets the kept replies of source (the first word of their keys); "" forgets all of them
/// (a harness that plays several runs in one process).
void forget_replies(const std::string& source);
/// Forgets the kept reply of exactly this call, if there is one.
void forget_reply(const ReplyKey& key);

}  // namespace tavio

#endif
