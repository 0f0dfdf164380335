#pragma once

// Redfish properties, types and URIs (DMTF DSP0266, Certificate schema 1.2.2).

inline constexpr char ODATA_ID[] = "@odata.id";
inline constexpr char ODATA_TYPE[] = "@odata.type";
inline constexpr char ODATA_ETAG[] = "@odata.etag";
inline constexpr char MEMBERS_ODATA_COUNT[] = "Members@odata.count";
inline constexpr char ID_PROPERTY[] = "Id";
inline constexpr char NAME_PROPERTY[] = "Name";
inline constexpr char DESCRIPTION_PROPERTY[] = "Description";

// Properties of a certificate and parameters of the actions.
inline constexpr char CERTIFICATE_STRING[] = "CertificateString";
inline constexpr char CERTIFICATE_URI[] = "CertificateUri";
inline constexpr char CERTIFICATE_TYPE[] = "CertificateType";
inline constexpr char VALID_NOT_BEFORE[] = "ValidNotBefore";
inline constexpr char VALID_NOT_AFTER[] = "ValidNotAfter";
inline constexpr char KEY_USAGE[] = "KeyUsage";
inline constexpr char EMAIL[] = "Email";
inline constexpr char SUBJECT[] = "Subject";
inline constexpr char ISSUER[] = "Issuer";
inline constexpr char KEY_BIT_LENGTH[] = "KeyBitLength";
inline constexpr char KEY_PAIR_ALGORITHM[] = "KeyPairAlgorithm";
inline constexpr char KEY_CURVE_ID[] = "KeyCurveId";
inline constexpr char CHALLENGE_PASSWORD[] = "ChallengePassword";
inline constexpr char CERTIFICATE_COLLECTION[] = "CertificateCollection";
inline constexpr char CSR_STRING[] = "CSRString";

// Type names, as events name them, and types.
inline constexpr char CERTIFICATE_TYPE_NAME[] = "Certificate";
inline constexpr char CERTIFICATE_COLLECTION_TYPE_NAME[] = "CertificateCollection";
inline constexpr char CERTIFICATE_LOCATIONS_TYPE_NAME[] = "CertificateLocations";
inline constexpr char CERTIFICATE_ODATA_TYPE[] = "#Certificate.v1_2_2.Certificate";
inline constexpr char CERTIFICATE_COLLECTION_ODATA_TYPE[] =
    "#CertificateCollection.CertificateCollection";

// The stored "@odata.type" of a certificate of any schema version, as an ECMAScript regular
// expression. The dots are unescaped on purpose and match any character but a line end.
inline constexpr char CERTIFICATE_ODATA_TYPE_PATTERN[] =
    R"("#Certificate.v\d+_\d+_\d+.Certificate")";

inline constexpr char CERTIFICATE_SERVICE_URI[] = "/redfish/v1/CertificateService";
inline constexpr char CERTIFICATE_LOCATIONS_URI[] =
    "/redfish/v1/CertificateService/CertificateLocations";
inline constexpr char CERTIFICATE_LOCATIONS_LINKS_KEY[] =
    "&&/redfish/v1/CertificateService/CertificateLocations/Links/Certificates";
inline constexpr char EVENT_SERVICE_URI[] = "/redfish/v1/EventService";

// Actions.
inline constexpr char GENERATE_CSR_ACTION_NAME[] = "CertificateService.GenerateCSR";
inline constexpr char GENERATE_CSR_ACTION_URI[] =
    "/redfish/v1/CertificateService/Actions/CertificateService.GenerateCSR";
inline constexpr char GENERATE_CSR_ACTION_KEY[] =
    "&&/redfish/v1/CertificateService/Actions/#CertificateService.GenerateCSR";
inline constexpr char REPLACE_CERTIFICATE_ACTION_NAME[] = "CertificateService.ReplaceCertificate";
inline constexpr char REPLACE_CERTIFICATE_ACTION_URI[] =
    "/redfish/v1/CertificateService/Actions/CertificateService.ReplaceCertificate";
