// The tickets of a run. They never move, so that a key's record may point at its ticket until the next reset.
// Not guarded: AccountService holds its mutex around every use.
#pragma once

#include <cstdint>
#include <deque>
#include <string>

#include "tools/sandbox/Http.h"

namespace sandbox {

struct Ticket {
    std::string id;
    std::string number;  // empty until it is filed
    std::string email;
    std::string title;
    std::string description;
    NamedValues parameters;     // in the order given
    std::int64_t requests = 0;  // that asked for it, repeats included
};

class TicketBook {
public:
    Ticket& begin(Ticket ticket) { return tickets_.emplace_back(std::move(ticket)); }
    // Gives the ticket the next number.
    void file(Ticket& ticket);
    // In the order of their begin.
    [[nodiscard]] const std::deque<Ticket>& all() const { return tickets_; }

private:
    std::deque<Ticket> tickets_;
    std::int64_t filed_ = 0;
};

}  // namespace sandbox
