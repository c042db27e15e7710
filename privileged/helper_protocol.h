// What the program and its privileged helper say over the helper's standard input and output.
//
//   helper, once started:  the line kReady
//   request:  u32 count, then count strings (u32 length, bytes): the tool's absolute path first,
//             then its arguments, each passed as it is, never through a shell
//   reply:    i32 status (0: the tool was started and has ended; otherwise why not), u32 length,
//             the tool's standard output and error, merged (at most kMaxOutput bytes kept)
//
// Numbers are in the machine's own byte order: both ends always run on the same machine.
// The helper exits when its input closes.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace Refloom::HelperProtocol {

inline constexpr char kReady[] = "RF-HELPER-READY\n";
inline constexpr std::uint32_t kMaxArguments = 1024;
inline constexpr std::uint32_t kMaxString = 1 << 16;
inline constexpr std::uint32_t kMaxOutput = 1 << 20;

// Statuses of a run that did not happen, in the numbering of the Mac's authorization errors.
inline constexpr std::int32_t kDenied = -60005;         // not a tool the helper may run
inline constexpr std::int32_t kExecuteFailed = -60031;  // the tool could not be started

// Each answers false when the descriptor closes or the data breaks the limits above.
bool writeRequest(int fd, std::vector<std::string> const& argv);
bool readRequest(int fd, std::vector<std::string>& argv);
bool writeReply(int fd, std::int32_t status, std::string const& output);
bool readReply(int fd, std::int32_t& status, std::string& output);

} // namespace Refloom::HelperProtocol
