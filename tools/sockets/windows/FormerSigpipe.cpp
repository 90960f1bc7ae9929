#include "tools/sockets/FormerSigpipe.h"

namespace sockets {

// There is no such signal.
struct FormerSigpipe::Disposition {};

FormerSigpipe::FormerSigpipe() = default;

FormerSigpipe::~FormerSigpipe() = default;

void FormerSigpipe::PutBack() const {}

}  // namespace sockets
