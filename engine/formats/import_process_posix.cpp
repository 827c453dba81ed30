// Runs a program that may crash or never end: Linux, macOS.
#include <dlfcn.h>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <system_error>

#include "engine/formats/import_process.h"
#ifdef __linux__
#include <sys/syscall.h>
#endif

extern "C" char** environ;

namespace kiln::engine::formats {
namespace {

using Clock = std::chrono::steady_clock;

#ifdef MSG_NOSIGNAL
constexpr int kSendFlags = MSG_DONTWAIT | MSG_NOSIGNAL;
#else
constexpr int kSendFlags = MSG_DONTWAIT;
#endif
constexpr size_t kReadBytes = size_t{1} << 18;

std::string SystemReason(int code) {
  return std::generic_category().message(code);
}

class Descriptor {
 public:
  explicit Descriptor(int fd = -1) : fd_(fd) {}
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  ~Descriptor() { Close(); }

  int get() const { return fd_; }
  void Reset(int fd) {
    Close();
    fd_ = fd;
  }
  void Close() {
    if (fd_ >= 0) close(fd_);
    fd_ = -1;
  }

 private:
  int fd_;
};

// A socket pair, not pipes: writing to a socket can be told to raise no signal. 0, or the error.
int MakePair(Descriptor& ours, Descriptor& theirs) {
  int pair[2];
#ifdef SOCK_CLOEXEC
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair) != 0) return errno;
#else
  if (socketpair(AF_UNIX, SOCK_STREAM, 0, pair) != 0) return errno;
  for (const int fd : pair) {
    const int on = 1;
    fcntl(fd, F_SETFD, FD_CLOEXEC);
    setsockopt(fd, SOL_SOCKET, SO_NOSIGPIPE, &on, sizeof on);
  }
#endif
  ours.Reset(pair[0]);
  theirs.Reset(pair[1]);
  return 0;
}

// How the child starts: the socket as input and output, no signal blocked or ignored as the host may have
// them, in a group of its own so that an interrupt from the terminal is the host's alone to answer.
class SpawnSetup {
 public:
  explicit SpawnSetup(int socket) {
    posix_spawn_file_actions_init(&files_);
    posix_spawn_file_actions_adddup2(&files_, socket, STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&files_, socket, STDOUT_FILENO);
    posix_spawn_file_actions_addopen(&files_, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
#if defined(__GLIBC__) && __GLIBC_PREREQ(2, 34)
    // What a careless host left open must not stay open for as long as an import takes.
    posix_spawn_file_actions_addclosefrom_np(&files_, STDERR_FILENO + 1);
#endif
    posix_spawnattr_init(&attributes_);
    sigset_t signals;
    sigemptyset(&signals);
    posix_spawnattr_setsigmask(&attributes_, &signals);
    for (const int signal : {SIGPIPE, SIGCHLD, SIGINT, SIGTERM, SIGHUP, SIGXCPU, SIGABRT, SIGSEGV})
      sigaddset(&signals, signal);
    posix_spawnattr_setsigdefault(&attributes_, &signals);
    int flags = POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETPGROUP;
#ifdef POSIX_SPAWN_CLOEXEC_DEFAULT
    flags |= POSIX_SPAWN_CLOEXEC_DEFAULT;
#endif
    posix_spawnattr_setflags(&attributes_, static_cast<short>(flags));
  }
  SpawnSetup(const SpawnSetup&) = delete;
  SpawnSetup& operator=(const SpawnSetup&) = delete;
  ~SpawnSetup() {
    posix_spawnattr_destroy(&attributes_);
    posix_spawn_file_actions_destroy(&files_);
  }

  int Spawn(const std::string& program, char* const* arguments, pid_t* pid) const {
    return posix_spawn(pid, program.c_str(), &files_, &attributes_, arguments, environ);
  }

 private:
  posix_spawn_file_actions_t files_;
  posix_spawnattr_t attributes_;
};

// A running child, killed and waited for at the latest by the destructor.
class Child {
 public:
  explicit Child(pid_t pid) : pid_(pid) {
#if defined(__linux__) && defined(SYS_pidfd_open)
    // With it, a kill can't meet a stranger that got the number after the host took the child's end.
    handle_.Reset(static_cast<int>(syscall(SYS_pidfd_open, pid, 0)));
#endif
  }
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;
  ~Child() {
    End();
  }

  // Kills the child, unless it has ended, and waits. True when it exited with 0, or nobody can tell.
  bool End() {
    if (pid_ <= 0) return true;
    Kill();
    int status = 0;
    pid_t waited;
    do {
      waited = waitpid(pid_, &status, 0);
    } while (waited < 0 && errno == EINTR);
    // Where children are ignored or waited for by others the status is gone.
    const bool good = waited != pid_ || (WIFEXITED(status) && WEXITSTATUS(status) == 0);
    pid_ = -1;
    return good;
  }

 private:
  void Kill() const {
#if defined(__linux__) && defined(SYS_pidfd_send_signal)
    if (handle_.get() >= 0) {
      syscall(SYS_pidfd_send_signal, handle_.get(), SIGKILL, nullptr, 0);
      return;
    }
#endif
    kill(pid_, SIGKILL);
  }

  pid_t pid_;
  Descriptor handle_;
};

bool WouldBlock(int error) {
  return error == EAGAIN || error == EWOULDBLOCK || error == EINTR;
}

// Sends what the socket takes now; the input is empty once all is sent, or the child takes no more.
void Send(int socket, std::span<const std::byte>& input) {
  const ssize_t sent = send(socket, input.data(), input.size(), kSendFlags);
  if (sent < 0 && WouldBlock(errno)) return;
  input = sent < 0 ? std::span<const std::byte>() : input.subspan(static_cast<size_t>(sent));
  if (input.empty()) shutdown(socket, SHUT_WR);
}

// Appends what there is; false at the end.
bool Receive(int socket, std::string& output) {
  const size_t size = output.size();
  if (output.capacity() < size + kReadBytes) output.reserve(std::max(2 * size, size + kReadBytes));
  output.resize(size + kReadBytes);
  const ssize_t got = recv(socket, output.data() + size, kReadBytes, MSG_DONTWAIT);
  const bool blocked = got < 0 && WouldBlock(errno);
  output.resize(size + static_cast<size_t>(std::max<ssize_t>(got, 0)));
  return got > 0 || blocked;
}

ProcessEnd Exchange(int socket, std::span<const std::byte> input, const ProcessLimits& limits,
                    std::string& output) {
  const Clock::time_point deadline = Clock::now() + limits.time;
  if (input.empty()) shutdown(socket, SHUT_WR);
  while (true) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
    if (left <= 0) return ProcessEnd::kTimeOut;
    pollfd event{socket, static_cast<short>(input.empty() ? POLLIN : POLLIN | POLLOUT), 0};
    const int ready = poll(&event, 1, static_cast<int>(std::min<int64_t>(left, INT_MAX)));
    if (ready < 0 && !WouldBlock(errno)) return ProcessEnd::kCrashed;
    if (ready <= 0) continue;
    if ((event.revents & POLLOUT) != 0 && !input.empty()) Send(socket, input);
    if ((event.revents & (POLLIN | POLLHUP | POLLERR)) != 0) {
      if (!Receive(socket, output)) return ProcessEnd::kOk;
      if (output.size() > limits.output_bytes) return ProcessEnd::kTooMuchOutput;
    }
  }
}

std::filesystem::path FindOwnFolder() {
  Dl_info info{};
  std::error_code error;
  std::filesystem::path file;
  if (dladdr(reinterpret_cast<const void*>(&FindOwnFolder), &info) != 0 && info.dli_fname != nullptr) {
    file = std::filesystem::canonical(info.dli_fname, error);
  }
  // A program's own name is what its caller chose to say.
  if (file.empty()) file = std::filesystem::canonical("/proc/self/exe", error);
  return file.parent_path();
}

// Asked while the library is loaded: a relative name means nothing once the working directory has changed.
const std::filesystem::path kOwnFolder = FindOwnFolder();

}  // namespace

const std::filesystem::path& OwnFolder() {
  return kOwnFolder;
}

ProcessResult RunProcess(const std::filesystem::path& program, const std::vector<std::string>& arguments,
                         std::span<const std::byte> input, const ProcessLimits& limits) {
  Descriptor ours;
  Descriptor theirs;
  if (const int error = MakePair(ours, theirs)) return {ProcessEnd::kNotStarted, {}, SystemReason(error)};
  const std::string name = program.string();
  std::vector<char*> argv = {const_cast<char*>(name.c_str())};
  for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);
  pid_t pid = -1;
  const int error = SpawnSetup(theirs.get()).Spawn(name, argv.data(), &pid);
  if (error == ENOENT || error == ENOTDIR) return {ProcessEnd::kMissing, {}, {}};
  if (error != 0) return {ProcessEnd::kNotStarted, {}, SystemReason(error)};
  Child child(pid);
  theirs.Close();
  ProcessResult result;
  result.end = Exchange(ours.get(), input, limits, result.output);
  // The child's end of the socket closes when it exits, too late for the kill to change its exit code.
  const bool good = child.End();
  if (result.end == ProcessEnd::kOk && !good) result.end = ProcessEnd::kCrashed;
  return result;
}

}  // namespace kiln::engine::formats
