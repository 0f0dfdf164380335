#include "frontend/web/service/task_runner.h"

TaskRunner::~TaskRunner() = default;
