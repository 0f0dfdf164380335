#pragma once

// The test's side of the steerable certificate backend (tests/support/fake_backend).
//
// The library takes its orders from a file afresh at every call and notes each call in another:
//   {"create": ANSWER, "delete": ANSWER, "generateCSR": ANSWER, "replace": ANSWER}
// An ANSWER is an object; every member may be missing:
//   "code" (200), "message": {"MessageId", "MessageArgs", "RelatedProperties"}, "keyUsage",
//   "issuer", "subject", "validNotBefore", "validNotAfter", "certificateString", "privateKeyValue",
//   "csr":
//                   the members of the result record
//   "waitForFile":  the call first waits until this file exists
//   "throw":        the call throws std::runtime_error with this text
// or an array of such objects: the first call takes the first one, and so on; the last one stays.

#include <string>
#include <vector>

// Where libcertificate_backend.so.1, the steerable one, lies: DaemonOptions::libraryPath.
[[nodiscard]] std::string fakeBackendDirectory();

// The orders from now on, as JSON text. Without any, every call gives code 200 and empty values.
void setBackendAnswers(const std::string& json);

// No orders and no calls, as at first.
void resetBackend();

// The calls so far, oldest first, each the compact JSON text of an object with sorted members:
// "handler" ("create", "delete", "generateCSR" or "replace") and the request record's own members.
[[nodiscard]] std::vector<std::string> backendCalls();
