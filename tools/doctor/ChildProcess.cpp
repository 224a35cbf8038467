#include "tools/doctor/ChildProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <mutex>
#include <stdexcept>

#include "kit/osdep/RepeatWhileInterrupted.h"
#include "tools/common/Printable.h"
#include "tools/doctor/Json.h"

namespace qv::tools::doctor {
namespace {

using Clock = std::chrono::steady_clock;
using kit::osdep::RepeatWhileInterrupted;

// Where a child finds the pipe to the doctor.
constexpr int kReportDescriptor = 3;
// Far more than the records of an OpenSSL that asks for locks all the time.
constexpr std::size_t kMostReports = 16U << 20U;
// Taken from a pipe before the clock is looked at again; no pipe holds more unless root makes it
// larger.
constexpr std::size_t kMostAtOnce = 1U << 20U;
constexpr int kPollMilliseconds = 50;

/// A pipe whose ends no other program inherits.
class Pipe {
 public:
  Pipe() {
    if (::pipe2(ends_, O_CLOEXEC) != 0) {
      throw std::runtime_error(std::string("no pipe to a process can be made: ") +
                               std::strerror(errno));
    }
    ::fcntl(ends_[0], F_SETFL, O_NONBLOCK);
  }
  Pipe(const Pipe&) = delete;
  Pipe& operator=(const Pipe&) = delete;
  ~Pipe() {
    ::close(ends_[0]);
    closeWriting();
  }

  int reading() const { return ends_[0]; }
  int writing() const { return ends_[1]; }
  void closeWriting() {
    if (ends_[1] >= 0) ::close(ends_[1]);
    ends_[1] = -1;
  }

  /// Appends what has arrived, and would not make text longer than most; the rest is thrown away.
  /// isCut is set when there is such a rest. False when nothing more will arrive.
  bool readInto(std::string& text, std::size_t most, bool& isCut) const {
    char buffer[4096];
    std::size_t taken = 0;
    while (taken < kMostAtOnce) {
      const ssize_t count =
          RepeatWhileInterrupted([&] { return ::read(ends_[0], buffer, sizeof buffer); });
      if (count == 0) return false;
      if (count < 0) return errno == EAGAIN;
      const auto length = static_cast<std::size_t>(count);
      const std::size_t kept = std::min(length, most - text.size());
      text.append(buffer, kept);
      isCut = isCut || kept < length;
      taken += length;
    }
    return true;
  }

 private:
  int ends_[2] = {-1, -1};
};

// In the new process: only calls that are safe between fork and exec.
[[noreturn]] void Become(char* const* arguments, int report, int output) {
  // A group of its own, so that what it starts can be ended with it, and with the doctor.
  ::setpgid(0, 0);
  ::prctl(PR_SET_PDEATHSIG, SIGKILL);
  // Away from the numbers that are assigned next.
  const int farReport = ::fcntl(report, F_DUPFD_CLOEXEC, 10);
  const int farOutput = ::fcntl(output, F_DUPFD_CLOEXEC, 10);
  const int nothing = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
  if (farReport >= 0 && farOutput >= 0 && nothing >= 0 && ::dup2(nothing, 0) >= 0 &&
      ::dup2(farOutput, 1) >= 0 && ::dup2(farOutput, 2) >= 0 &&
      ::dup2(farReport, kReportDescriptor) >= 0) {
    ::execv("/proc/self/exe", arguments);
  }
  ::_exit(127);
}

pid_t Start(const std::vector<std::string>& job, const Pipe& report, const Pipe& output) {
  std::vector<std::string> words{"qvsslinit-doctor", kChildOption};
  words.insert(words.end(), job.begin(), job.end());
  std::vector<char*> arguments;
  arguments.reserve(words.size() + 1);
  for (std::string& word : words)
    arguments.push_back(word.data());
  arguments.push_back(nullptr);

  const pid_t child = ::fork();
  if (child < 0) {
    throw std::runtime_error(std::string("no process can be started: ") + std::strerror(errno));
  }
  if (child == 0) Become(arguments.data(), report.writing(), output.writing());
  ::setpgid(child, child);  // whoever comes first: the group is needed at once
  return child;
}

/// Whether the child has ended. Its number stays taken until it is collected.
bool HasEnded(pid_t child) {
  siginfo_t information{};
  ::waitid(P_PID, static_cast<id_t>(child), &information, WEXITED | WNOHANG | WNOWAIT);
  return information.si_pid == child;
}

/// Ends the child and all that it started, and gives its status.
int Collect(pid_t child) {
  ::kill(-child, SIGKILL);
  int status = 0;
  RepeatWhileInterrupted([&] { return ::waitpid(child, &status, 0); });
  return status;
}

/// Splits what arrived into messages. A last line that was cut by the end of the child is none.
std::vector<Fact> Messages(const std::string& text) {
  std::vector<Fact> messages;
  std::size_t begin = 0;
  for (std::size_t end = 0; (end = text.find('\n', begin)) != std::string::npos; begin = end + 1) {
    std::optional<Fact> message = FromJson(text.substr(begin, end - begin));
    if (message) messages.push_back(std::move(*message));
  }
  return messages;
}

}  // namespace

const Fact* ChildResult::find(const char* key) const {
  const Fact* found = nullptr;
  for (const auto& message : messages) {
    const Fact* value = message.find(key);
    if (value != nullptr) found = value;
  }
  return found;
}

std::string ChildResult::text(const char* key) const {
  const auto* value = find(key);
  return value != nullptr ? value->text() : std::string();
}

bool ChildResult::isTrue(const char* key) const {
  const auto* value = find(key);
  return value != nullptr && *value == Fact(true);
}

std::vector<std::string> ChildResult::printedLines() const {
  std::vector<std::string> lines = PrintableLines(output);
  if (isOutputCut) lines.emplace_back("... and more, which is not shown");
  return lines;
}

std::string TextIn(const Fact& message, const char* key) {
  const Fact* value = message.find(key);
  return value != nullptr ? value->text() : std::string();
}

std::string ChildResult::endText() const {
  if (end == End::TimedOut) {
    return "was not done after " + std::to_string(timeLimit) + " seconds and was ended";
  }
  if (end == End::Flooded) return "reported too much and was ended";
  if (end == End::Killed) {
    return "was ended by signal " + std::to_string(code) + " (" + ::strsignal(code) + ")";
  }
  return "ended with status " + std::to_string(code);
}

ChildResult RunChild(const std::vector<std::string>& job, int timeLimit, std::size_t mostOutput) {
  Pipe report;
  Pipe output;
  ChildResult result;
  result.timeLimit = timeLimit;
  const Clock::time_point deadline = Clock::now() + std::chrono::seconds(timeLimit);
  const pid_t child = Start(job, report, output);
  report.closeWriting();
  output.closeWriting();

  std::string messages;
  bool ended = false;
  bool isFlooded = false;
  pollfd waiting[] = {{report.reading(), POLLIN, 0}, {output.reading(), POLLIN, 0}};
  while (!ended) {
    ::poll(waiting, 2, kPollMilliseconds);
    // Asked before the pipes are emptied: whatever the child wrote is in them by then.
    ended = HasEnded(child);
    // A pipe that the child has closed is not waited for again.
    if (!report.readInto(messages, kMostReports, isFlooded)) waiting[0].fd = -1;
    if (!output.readInto(result.output, mostOutput, result.isOutputCut)) waiting[1].fd = -1;
    if (isFlooded) {
      ended = true;
      result.end = ChildResult::End::Flooded;
    } else if (!ended && Clock::now() >= deadline) {
      ended = true;
      result.end = ChildResult::End::TimedOut;
    }
  }
  const int status = Collect(child);

  result.messages = Messages(messages);
  if (result.end != ChildResult::End::Exited) return result;
  result.end = WIFSIGNALED(status) ? ChildResult::End::Killed : ChildResult::End::Exited;
  result.code = WIFSIGNALED(status) ? WTERMSIG(status) : WEXITSTATUS(status);
  return result;
}

void Report(const Fact& message) {
  static std::mutex mutex;
  const std::string line = ToJsonLine(message) + "\n";
  const std::lock_guard<std::mutex> guard(mutex);
  std::size_t written = 0;
  while (written < line.size()) {
    const ssize_t count = RepeatWhileInterrupted(
        [&] { return ::write(kReportDescriptor, line.data() + written, line.size() - written); });
    if (count < 0) return;  // the doctor is gone, and so is the need to report
    written += static_cast<std::size_t>(count);
  }
}

}  // namespace qv::tools::doctor
