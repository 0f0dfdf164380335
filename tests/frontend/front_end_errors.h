#pragma once

// The errors of the front end's parts as tests compare them.

#include "frontend/exchange/front_end_error.h"

#include <gtest/gtest.h>

// The error that ends the call. A call that ends well fails the test.
template <typename Call>
FrontEndError errorOf(Call call) {
    try {
        call();
    } catch (const FrontEndError& error) {
        return error;
    }
    ADD_FAILURE() << "no error";
    return {FailureKind::BAD_INPUT, "no error"};
}
