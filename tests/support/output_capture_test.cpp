// Capturing the test's own output.

#include "tests/support/output_capture.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <iostream>

TEST(OutputCapture, TakesStreamsAndStdioOfOneDescriptor) {
    const OutputCapture errors(2);
    const OutputCapture output(1);
    std::cerr << "a" << std::endl;
    (void)std::fputs("b\n", stderr);
    (void)std::fputs("c\n", stdout);
    EXPECT_EQ(errors.text(), "a\nb\n");
    EXPECT_EQ(output.text(), "c\n");
}

TEST(OutputCapture, EndsWithItsScope) {
    const OutputCapture outer(2);
    {
        const OutputCapture inner(2);
        (void)std::fputs("inner", stderr);
        EXPECT_EQ(inner.text(), "inner");
    }
    (void)std::fputs("outer", stderr);
    EXPECT_EQ(outer.text(), "outer");
}
