#pragma once

// An order that is carried out at the end of the scope, also when an exception ends it.

#include <utility>

template <typename Order>
class AtScopeEnd {
public:
    explicit AtScopeEnd(Order order) : mOrder(std::move(order)) {}
    ~AtScopeEnd() {
        mOrder();
    }
    AtScopeEnd(const AtScopeEnd&) = delete;
    AtScopeEnd& operator=(const AtScopeEnd&) = delete;

private:
    Order mOrder;
};
