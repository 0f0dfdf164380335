#include "platform/certificate_backend/messages.h"

namespace {

std::string pointerTo(const std::string& property) {
    return "#/" + property;
}

} // namespace

MessageInfo propertyValueFormatError(const std::string& value, const std::string& property) {
    return {"Base.1.9.PropertyValueFormatError", {value, property}, {pointerTo(property)}};
}

MessageInfo propertyValueNotInList(const std::string& value, const std::string& property) {
    return {"Base.1.9.PropertyValueNotInList", {value, property}, {pointerTo(property)}};
}

MessageInfo parameterMissing(const std::string& action, const std::string& parameter) {
    return {"Base.1.9.ActionParameterMissing", {action, parameter}, {pointerTo(parameter)}};
}

MessageInfo parameterUnknown(const std::string& action, const std::string& parameter) {
    return {"Base.1.9.ActionParameterUnknown", {action, parameter}, {pointerTo(parameter)}};
}

MessageInfo parameterValueFormatError(const std::string& value, const std::string& parameter,
                                      const std::string& action) {
    return {"Base.1.9.ActionParameterValueFormatError",
            {value, parameter, action},
            {pointerTo(parameter)}};
}

MessageInfo parameterValueNotInList(const std::string& value, const std::string& parameter,
                                    const std::string& action) {
    return {"Base.1.9.ActionParameterValueNotInList",
            {value, parameter, action},
            {pointerTo(parameter)}};
}

MessageInfo parameterValueTypeError(const std::string& value, const std::string& parameter,
                                    const std::string& action) {
    return {"Base.1.9.ActionParameterValueTypeError",
            {value, parameter, action},
            {pointerTo(parameter)}};
}

MessageInfo resourceMissingAtUri(const std::string& uri) {
    return {"Base.1.9.ResourceMissingAtURI", {uri}, {}};
}

MessageInfo resourceAlreadyExists(const std::string& type, const std::string& property,
                                  const std::string& value) {
    return {"Base.1.9.ResourceAlreadyExists", {type, property, value}, {}};
}

MessageInfo noOperation() {
    return {"Base.1.9.NoOperation", {}, {}};
}

MessageInfo internalError() {
    return {"Base.1.9.InternalError", {}, {}};
}
