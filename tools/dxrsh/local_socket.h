// Sockets between programs of one user on this machine.
#ifndef DXRSH_LOCAL_SOCKET_H
#define DXRSH_LOCAL_SOCKET_H

#include <sys/types.h>
#include <sys/un.h>

#include <string>

namespace dxrsh {

// A descriptor that is closed at the end.
class Descriptor {
  public:
    Descriptor() = default;
    explicit Descriptor(int fd) : fd_(fd) {}
    ~Descriptor();
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;
    Descriptor(Descriptor &&other) noexcept;
    Descriptor &operator=(Descriptor &&other) noexcept;

    [[nodiscard]] int Get() const { return fd_; }
    explicit operator bool() const { return fd_ >= 0; }

  private:
    int fd_ = -1;
};

// Throws RunError when the path is too long.
[[nodiscard]] sockaddr_un LocalAddressOf(const std::string &path);

// A connection to who listens at the path, which waits for nobody until it is there: none with the
// reason in errno, EAGAIN for one who does not take it now. Throws RunError when the path is too
// long.
[[nodiscard]] Descriptor ConnectTo(const std::string &path);

// Listens at a path, for this user alone.
class LocalListener {
  public:
    // One that nobody listens at any more is replaced. Throws RunError when somebody does, when
    // something else is there, and when it cannot be made.
    LocalListener(const std::string &path, int waiting);
    ~LocalListener() { Remove(); }
    LocalListener(const LocalListener &) = delete;
    LocalListener &operator=(const LocalListener &) = delete;
    LocalListener(LocalListener &&) = delete;
    LocalListener &operator=(LocalListener &&) = delete;

    // Does not block.
    [[nodiscard]] int Fd() const { return fd_.Get(); }

    // From the root.
    [[nodiscard]] const std::string &Path() const { return path_; }

    // Takes it out of its directory, unless another one is there meanwhile. Any thread; again and
    // again. A process that this one has forked removes nothing.
    void Remove() const;

    // From now on it goes also when the program ends without destructors: by exit() and EndProgram,
    // and by a signal that would end it. Not by what no program sees: SIGKILL, a signal that is set
    // back to its default, the end of another thread's stack than the caller's. One listener of a
    // program.
    void RemoveAtEnd() const;

  private:
    std::string path_;
    Descriptor fd_;
    dev_t device_ = 0;
    ino_t inode_ = 0;
    pid_t owner_ = 0;
};

// What RemoveAtEnd has promised, now; nothing of the parent's in a process that was forked. Also
// within a handler of signals.
void RemoveListenerOfProgram();

}  // namespace dxrsh

#endif  // DXRSH_LOCAL_SOCKET_H
