#pragma once

// The OData metadata document (DSP0266, 8.4): which schemas the service's resources follow.

#include <string>

// XML. Holds the namespace of every "@odata.type" that the service shows.
[[nodiscard]] std::string metadataDocument();
