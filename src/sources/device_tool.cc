#include "sources/device_tool.h"

#include "platform/command.h"
#include "platform/os.h"
#include "protocol/json_get.h"
#include "sources/outside_text.h"
#include "sources/reply_memo.h"
#include "text/text_buffer.h"

namespace tavio {
namespace {

constexpr char kDeviceTool[] = "capwap_cli";
static_assert(kDeviceToolDeadline <= kLongestWaitedDeadline, "an exchange would outlast its bound");
constexpr std::size_t kDeviceLineChars = 511;

// The key under which an answer is kept: the whole call.
ReplyKey device_reply_key(const std::vector<std::string>& args) {
  ReplyKey key{kDeviceTool};
  key.insert(key.end(), args.begin(), args.end());
  return key;
}

}  // namespace

JsonPtr device_command(std::vector<std::string> args) {
  const std::optional<std::string> answer = run_command(
      Command{kDeviceTool, std::move(args), kDeviceToolDeadline, CommandOutput::kCapture});
  return answer ? json_load_reply(*answer) : nullptr;
}

JsonPtr device_answer(std::vector<std::string> args) {
  ReplyKey key = device_reply_key(args);
  return kept_or_asked(std::move(key), [&] { return device_command(std::move(args)); });
}

void forget_device_answer(const std::vector<std::string>& args) {
  forget_reply(device_reply_key(args));
}

bool device_serial_fits(const std::string& serial, std::size_t taken, const char* answer_file) {
  const std::size_t file = format_text(kPathCapacity, answer_file, process_id()).size();
  return outside_argument_fits(serial, kDeviceLineChars - taken - file);
}

}  // namespace tavio
