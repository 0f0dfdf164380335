#pragma once

// Where requests and task states are announced. A request queue is a list that holds the name of
// the channel on which its requests are announced.

inline constexpr char CREATE_QUEUE[] =
    "&&/redfish/v1/CertificateService/CertificateCollection/POSTCREATEQ";
inline constexpr char DELETE_QUEUE[] =
    "&&/redfish/v1/CertificateService/CertificateCollection/DELETEQ";
inline constexpr char ACTION_QUEUE[] = "&&/redfish/v1/CertificateService/POSTACTIONQ";

inline constexpr char CREATE_CHANNEL[] = "&&/redfish/v1/CertificateService/CreateNewCertificate";
inline constexpr char DELETE_CHANNEL[] = "&&/redfish/v1/CertificateService/DeleteCertificate";
inline constexpr char ACTION_CHANNEL[] = "&&/redfish/v1/CertificateService/ACTION_CHANNEL";

inline constexpr char TASK_STATE_CHANNEL[] = "TASK_STATE_CHANGE";
