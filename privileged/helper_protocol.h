// What the program and its privileged helper say to each other over the socket pair the
// program made (the helper's standard input and output). Every message is a frame:
//
//   frame:     u32 length of the body, then the body
//   greeting:  (helper, once, first)  u32 kVersion, u32 the helper's effective user id
//   request:   u32 number, u8 operation (FileTool), u8 count, count strings (u32 length, bytes)
//   reply:     u32 number (the request's), i32 status, i32 exit status, u32 length, output bytes
//
// A request names an operation and its operands, never a tool. Status 0 means the operation
// was carried out and the exit status says how it ended, as a tool's would (0 done, else
// failed; a signal's number for a script ended by one); kDenied means the request is outside
// the helper's policy, kExecuteFailed that it could not be started at all.
// Numbers are in the machine's own byte order: both ends always run on the same machine.
// Who sent a frame is what the kernel says (SCM_CREDENTIALS), never what the frame claims.
// The helper exits when the channel closes, and on any frame it cannot take whole.
#pragma once

#include <sys/socket.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "privileged/tool_rows.h"

namespace Refloom::HelperProtocol {

inline constexpr std::uint32_t kVersion = 3;
inline constexpr std::uint32_t kMaxOperands = 64;
inline constexpr std::uint32_t kMaxString = 4096;  // a path of the system's longest
inline constexpr std::uint32_t kMaxRequest = 6 + kMaxOperands * (4 + kMaxString);
inline constexpr std::uint32_t kMaxOutput = 1 << 20;
inline constexpr std::uint32_t kMaxReply = 16 + kMaxOutput;

// Statuses of a run that did not happen, in the numbering of the Mac's authorization errors.
inline constexpr std::int32_t kDenied = -60005;
inline constexpr std::int32_t kExecuteFailed = -60031;

// The patch tool's file name in the resource folder.
inline constexpr char kPatchTool[] = "applyPatch";

struct Request {
    FileTool operation;
    std::vector<std::string> operands;
};

struct Reply {
    std::uint32_t number;
    std::int32_t status;
    std::int32_t exitStatus;
    std::string output;
};

// Bodies. Encoding checks every limit first and answers nothing when one is broken, so a
// request is sent whole or not at all; decoding takes a body whole or not at all.
std::optional<std::string> encodeRequest(std::uint32_t number, Request const& request);
std::optional<std::pair<std::uint32_t, Request>> decodeRequest(std::string const& body);
std::string encodeReply(Reply const& reply);
std::optional<Reply> decodeReply(std::string const& body);
std::string encodeGreeting(std::uint32_t effectiveUser);
// The helper's effective user id, when the body is a greeting of this version.
std::optional<std::uint32_t> decodeGreeting(std::string const& body);

// Frames over a descriptor: false when it closes, fails or the length is over `limit`.
// `closed`, when given, tells a channel closed between frames from a frame broken off.
// `sender`, when given, receives the sending process as the kernel vouches for it; the frame
// is refused unless the kernel names one sender for all of it, which it does only for a
// socket with SO_PASSCRED set (see passCredentials) before the frame was sent.
bool writeFrame(int fd, std::string const& body);
bool readFrame(int fd, std::string& body, std::uint32_t limit, bool* closed = nullptr, ucred* sender = nullptr);
// Asks the kernel to name the sender of everything that arrives on the socket from now on.
bool passCredentials(int fd);

} // namespace Refloom::HelperProtocol
