#pragma once

#include <QLoggingCategory>

// The parser's log lines; the command line and the fuzzer switch them off.
Q_DECLARE_LOGGING_CATEGORY(lcParser)
