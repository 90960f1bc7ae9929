// The control paths of the sandbox, below "/sandbox/": set faults, let things expire, steer sign-ups, reset,
// read the log.
//
// They belong to the sandbox alone; no account service has them. Any thread.
#pragma once

#include "tools/sandbox/AccountService.h"
#include "tools/sandbox/ExchangeLog.h"
#include "tools/sandbox/Faults.h"
#include "tools/sandbox/Http.h"

namespace sandbox {

struct Controlled {
    AccountService& service;
    Faults& faults;
    ExchangeLog& log;
};

[[nodiscard]] bool isControlPath(std::string_view path);
[[nodiscard]] Answer answerControl(const Controlled& controlled, const Request& request);

}  // namespace sandbox
