#pragma once

#include <memory>

#include "TarnApp/session/TranslateViewModel.h"
#include "TarnCore/deployment/Deployment.h"

namespace tarn::cli {

// The application's surroundings as a command line has them.

/// The desktop's own, but with settings that end with the process, so that the window's stay as they are.
/// `wishes`: what becomes of a stream whose connection is lost.
ViewModelServices runServices(SerialExecutor main, const DeploymentValues& deployment,
                              const ConnectionWishes& wishes = {});

/// Where TARN_TOKEN holds one, that token is the one that is signed in with, at whichever server, and the
/// keyring is left alone.
void useTokenOfEnvironment(const DeploymentValues& deployment);

/// A player that needs no audio server and is never heard.
std::shared_ptr<AudioPlayer> silentPlayer();

/// For a capture that is none of the desktop's.
std::shared_ptr<ScreenCaptureAccess> alwaysAllowed();

/// Keeps the log's lines about the end of a connection from standard error: the run says it in one of its
/// own.
void leaveOutLinesOfTheEnd();

}  // namespace tarn::cli
