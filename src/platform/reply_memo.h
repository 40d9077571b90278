// Replies of read-only tool calls, kept for the rest of the run: a menu or a list of values
// asks for the same WAN list or unit status several times, and each tool run costs far more
// on the router than tavio's own work. Writes and actions are never kept; one of them makes
// what it changes stale, so its caller forgets those replies. A call is known by its whole
// argument vector: two calls share a reply only when every argument is the same.
#ifndef TAVIO_PLATFORM_REPLY_MEMO_H
#define TAVIO_PLATFORM_REPLY_MEMO_H

#include <string>
#include <vector>

#include "tavio/json_ref.h"

namespace tavio {

/// A call as the memo knows it: the tool, then what makes its reply differ.
using ReplyKey = std::vector<std::string>;

/// Whether key's reply is kept; *reply is then a new reference to it (null for a call that
/// failed, which is kept as well: asking a tool that did not answer again only costs time).
[[nodiscard]] bool kept_reply(const ReplyKey& key, JsonPtr* reply);
/// Keeps reply (null: the call failed) as key's for the rest of the run.
void keep_reply(ReplyKey key, const JsonPtr& reply);
/// Forgets the kept replies of tool (the first word of their keys); "" forgets all of them.
void forget_replies(const std::string& tool);
/// Forgets the kept reply of exactly this call, if there is one.
void forget_reply(const ReplyKey& key);

}  // namespace tavio

#endif
