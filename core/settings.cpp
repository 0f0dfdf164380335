#include "core/settings.h"

std::string gRootCaFile;
