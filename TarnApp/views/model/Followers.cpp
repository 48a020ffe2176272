#include "Followers.h"

namespace tarn {

void ModelFollower::setViewModel(TranslateViewModel* value) {
    if (replaceFollowed(viewModel_, value, this)) {
        modelReplaced(value);
        Q_EMIT viewModelChanged();
    }
}

void SessionFollower::setSession(TranslateSession* value) {
    if (replaceFollowed(session_, value, this)) {
        sessionReplaced(value);
        Q_EMIT sessionChanged();
    }
}

}  // namespace tarn
