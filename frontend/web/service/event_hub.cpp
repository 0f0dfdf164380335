#include "frontend/web/service/event_hub.h"

EventHub::~EventHub() {
    stop();
}

void EventHub::start() {}

void EventHub::stop() {}
