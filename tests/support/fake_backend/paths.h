#pragma once

// The files by which a test and the steerable backend talk to each other.

constexpr const char* FAKE_BACKEND_ORDERS = "/run/fake_backend.json";
constexpr const char* FAKE_BACKEND_CALLS = "/run/fake_backend.calls";
