#include "frontend/ctl/collection_hint.h"

std::string missingCollectionHint(const std::string& collectionUri) {
    return "`certificatectl init --collection " + collectionUri + "` sets it up.";
}

FrontEndError noCollection(const std::string& collectionUri) {
    return {FailureKind::NOT_THERE, "There is no certificate collection at " + collectionUri + ".",
            missingCollectionHint(collectionUri)};
}
