#include "tools/doctor/ChildProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <mutex>
#include <stdexcept>

namespace qv::doctor {
namespace {

using Clock = std::chrono::steady_clock;

// Where a child finds the pipe to the doctor.
constexpr int kReportDescriptor = 3;
// Printed text beyond this is thrown away.
constexpr std::size_t kMostOutput = 16384;
constexpr int kPollMilliseconds = 50;

/// A pipe whose ends no other program inherits.
class Pipe {
 public:
  Pipe() {
    if (::pipe(ends_) != 0) throw std::runtime_error(std::strerror(errno));
    for (const int end : ends_)
      ::fcntl(end, F_SETFD, FD_CLOEXEC);
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

  /// Appends what has arrived to text; false when nothing more will.
  bool readInto(std::string& text) const {
    char buffer[4096];
    for (;;) {
      const ssize_t count = ::read(ends_[0], buffer, sizeof buffer);
      if (count > 0) text.append(buffer, static_cast<std::size_t>(count));
      if (count == 0) return false;
      if (count < 0 && errno != EINTR) return errno == EAGAIN;
    }
  }

 private:
  int ends_[2] = {-1, -1};
};

// In the new process: only calls that are safe between fork and exec.
[[noreturn]] void Become(char* const* arguments, int report, int output) {
  // Away from the numbers that are assigned next.
  const int farReport = ::fcntl(report, F_DUPFD, 10);
  const int farOutput = ::fcntl(output, F_DUPFD, 10);
  const int nothing = ::open("/dev/null", O_RDONLY);
  if (farReport >= 0 && farOutput >= 0 && nothing >= 0 && ::dup2(nothing, 0) >= 0 &&
      ::dup2(farOutput, 1) >= 0 && ::dup2(farOutput, 2) >= 0 &&
      ::dup2(farReport, kReportDescriptor) >= 0) {
    ::close(farReport);
    ::close(farOutput);
    if (nothing > kReportDescriptor) ::close(nothing);
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
  if (child < 0) throw std::runtime_error(std::strerror(errno));
  if (child == 0) Become(arguments.data(), report.writing(), output.writing());
  return child;
}

bool HasEnded(pid_t child, int& status, int options) {
  pid_t ended = 0;
  do {
    ended = ::waitpid(child, &status, options);
  } while (ended < 0 && errno == EINTR);
  return ended == child;
}

/// Splits what arrived into messages. A last line that was cut by the end of the child is none.
std::vector<nlohmann::ordered_json> Messages(const std::string& text) {
  std::vector<nlohmann::ordered_json> messages;
  std::size_t begin = 0;
  for (std::size_t end = 0; (end = text.find('\n', begin)) != std::string::npos; begin = end + 1) {
    auto message = nlohmann::ordered_json::parse(text.substr(begin, end - begin), nullptr, false);
    if (message.is_object()) messages.push_back(std::move(message));
  }
  return messages;
}

}  // namespace

const nlohmann::ordered_json* ChildResult::find(const char* key) const {
  const nlohmann::ordered_json* found = nullptr;
  for (const auto& message : messages) {
    const auto value = message.find(key);
    if (value != message.end()) found = &*value;
  }
  return found;
}

std::string ChildResult::endText() const {
  switch (end) {
    case End::TimedOut:
      return "was not done after " + std::to_string(timeLimit) + " seconds and was ended";
    case End::Killed:
      return "was ended by signal " + std::to_string(code) + " (" + ::strsignal(code) + ")";
    case End::Exited:
      break;
  }
  return "ended with status " + std::to_string(code);
}

ChildResult RunChild(const std::vector<std::string>& job, int timeLimit) {
  Pipe report;
  Pipe output;
  ChildResult result;
  result.timeLimit = timeLimit;
  const Clock::time_point deadline = Clock::now() + std::chrono::seconds(timeLimit);
  const pid_t child = Start(job, report, output);
  report.closeWriting();
  output.closeWriting();

  std::string messages;
  int status = 0;
  bool ended = false;
  pollfd waiting[] = {{report.reading(), POLLIN, 0}, {output.reading(), POLLIN, 0}};
  while (!ended) {
    ::poll(waiting, 2, kPollMilliseconds);
    // Asked before the pipes are emptied: whatever the child wrote is in them by then.
    ended = HasEnded(child, status, WNOHANG);
    // A pipe that the child has closed is not waited for again.
    if (!report.readInto(messages)) waiting[0].fd = -1;
    if (!output.readInto(result.output)) waiting[1].fd = -1;
    if (result.output.size() > kMostOutput) result.output.resize(kMostOutput);
    if (!ended && Clock::now() >= deadline) {
      ::kill(child, SIGKILL);
      ended = HasEnded(child, status, 0);
      result.end = ChildResult::End::TimedOut;
    }
  }

  result.messages = Messages(messages);
  if (result.end == ChildResult::End::TimedOut) return result;
  result.end = WIFSIGNALED(status) ? ChildResult::End::Killed : ChildResult::End::Exited;
  result.code = WIFSIGNALED(status) ? WTERMSIG(status) : WEXITSTATUS(status);
  return result;
}

void Report(const nlohmann::ordered_json& message) {
  static std::mutex mutex;
  const std::string line =
      message.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n";
  const std::lock_guard<std::mutex> guard(mutex);
  std::size_t written = 0;
  while (written < line.size()) {
    const ssize_t count = ::write(kReportDescriptor, line.data() + written, line.size() - written);
    if (count >= 0) {
      written += static_cast<std::size_t>(count);
    } else if (errno != EINTR) {
      return;  // the doctor is gone, and so is the need to report
    }
  }
}

}  // namespace qv::doctor
