#pragma once

#include <dmnctl/log/Entry.h>

#include <string>

namespace dmnctl {

/// The entry as a JSON object on one line (RFC 8259, in UTF-8), without a line feed:
///
///     {"id": "clock", "time": "2026-11-22T09:42:07.123456Z", "level": "error", "process": 42, "thread": 42,
///      "text": "init", "where": "...", "what": "open failed...", "second": "...", "code": 13,
///      "properties": [{"name": "func", "value": "open"}], "causes": [{"what": ..., "code": ...}]}
///
/// The first six keys are always there, with null for what the entry does not say. The others are those of an
/// error; "where" and "second" are left out where there are none. A name may be that of several properties.
/// The causes are in the order of the chain: each led to the one before it. Of a line that is no entry,
/// "text" has the line, and "damaged" is true. Bytes that are no UTF-8 become U+FFFD.
std::string toJson(Entry const& entry, std::string const& id);

} // namespace dmnctl
