#pragma once

namespace tavorin {

// What the operator reads when a camera cannot start or stops, whatever route it takes.
inline constexpr const char* kCameraAccessDenied =
    "Camera access denied — add yourself to the 'video' group or check /dev/video* permissions.";
inline constexpr const char* kCameraBusy = "Camera is busy — another application is using it.";
inline constexpr const char* kCameraDisconnected = "Camera disconnected.";
// The start of the log line for a format change the device refused; the reason follows.
inline constexpr const char* kCameraFormatChangeRejected = "CameraSource: device rejected format change — ";

}  // namespace tavorin
