#pragma once

#include <memory>

namespace sockets {

// What the process did with SIGPIPE before. Some libraries make the whole process ignore it when a server is
// constructed; a test that watches for that signal shares the process with us, so it is put back.
class FormerSigpipe {
public:
    FormerSigpipe();
    ~FormerSigpipe();
    FormerSigpipe(const FormerSigpipe&) = delete;
    FormerSigpipe& operator=(const FormerSigpipe&) = delete;

    void PutBack() const;

private:
    struct Disposition;
    std::unique_ptr<Disposition> former_;
};

}  // namespace sockets
