#include "tools/sandbox/TicketBook.h"

namespace sandbox {

void TicketBook::file(Ticket& ticket) {
    constexpr std::int64_t firstNumber = 500001;
    ticket.number = "T-" + std::to_string(firstNumber + filed_++);
}

}  // namespace sandbox
