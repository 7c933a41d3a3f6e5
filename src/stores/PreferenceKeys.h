#pragma once

#include <string_view>

// Every per-user preference key. The "Tavorin." names are kept as they are in
// users' preference files; changing one loses that setting.
namespace tavorin::prefkey {

inline constexpr std::string_view activeDeck = "Tavorin.activeDeck";  // String, a deck's UUID

inline constexpr std::string_view aiTextProvider = "Tavorin.ai.textProvider";
inline constexpr std::string_view aiTextModel = "Tavorin.ai.textModel";
inline constexpr std::string_view aiImageProvider = "Tavorin.ai.imageProvider";
inline constexpr std::string_view aiImageModel = "Tavorin.ai.imageModel";
inline constexpr std::string_view aiAudioProvider = "Tavorin.ai.audioProvider";
inline constexpr std::string_view aiAudioModel = "Tavorin.ai.audioModel";
inline constexpr std::string_view aiVideoProvider = "Tavorin.ai.videoProvider";
inline constexpr std::string_view aiVideoModel = "Tavorin.ai.videoModel";
inline constexpr std::string_view aiMonthlyCostLimit = "Tavorin.aiMonthlyCostLimit";  // 64-bit float

inline constexpr std::string_view audioInputIDs = "Tavorin.audioInputIDs";  // list of String
inline constexpr std::string_view canvasSize = "Tavorin.canvasSize";        // CanvasSize name
inline constexpr std::string_view captureQualities = "Tavorin.captureQualities";  // JSON: source id to CaptureQuality name

inline constexpr std::string_view channelFilters = "Tavorin.channelFilters";
inline constexpr std::string_view channelOrder = "Tavorin.channelOrder";
inline constexpr std::string_view channelRouting = "Tavorin.channelRouting";
inline constexpr std::string_view cueMasterGain = "Tavorin.cueMasterGain";
inline constexpr std::string_view monitorOutputs = "Tavorin.monitorOutputs";
inline constexpr std::string_view previewOutputUID = "Tavorin.previewOutputUID";
inline constexpr std::string_view recordAllAudio = "Tavorin.recordAllAudio";
inline constexpr std::string_view recordAudioIDs = "Tavorin.recordAudioIDs";

// Booleans; unset means the migration has still to run.
inline constexpr std::string_view deckLayoutsMigrated = "Tavorin.deckLayoutsMigrated";
inline constexpr std::string_view embeddedVerticalMigrated = "Tavorin.embeddedVerticalMigrated";

inline constexpr std::string_view frameRate = "Tavorin.frameRate";  // integer, one of the Program frame rates

inline constexpr std::string_view editCanvas = "Tavorin.editCanvas";  // "horizontal" or "vertical"
inline constexpr std::string_view layoutSyncH = "Tavorin.layoutSyncH";  // Boolean, true when unset
inline constexpr std::string_view layoutSyncV = "Tavorin.layoutSyncV";  // Boolean, true when unset
inline constexpr std::string_view onboardingDone = "Tavorin.onboardingDone";
inline constexpr std::string_view presenterFollow = "Tavorin.presenterFollow";
inline constexpr std::string_view presenterInkFade = "Tavorin.presenterInkFade";  // integer, minutes
inline constexpr std::string_view prevDefaultOutputUID = "Tavorin.prevDefaultOutputUID";
inline constexpr std::string_view progMasterGain = "Tavorin.progMasterGain";  // float
inline constexpr std::string_view programOutputUID = "Tavorin.programOutputUID";
inline constexpr std::string_view recordQuality = "Tavorin.recordQuality";    // ProgramRecorder.Quality name
inline constexpr std::string_view recordVideoIDs = "Tavorin.recordVideoIDs";  // list of String
inline constexpr std::string_view recordingsFolder = "Tavorin.recordingsFolder";
inline constexpr std::string_view remoteEnabled = "Tavorin.remoteEnabled";
inline constexpr std::string_view remoteToken = "Tavorin.remoteToken";
inline constexpr std::string_view replayDuration = "Tavorin.replayDuration";  // seconds; 60 when unset or not above 0
inline constexpr std::string_view replayEnabled = "Tavorin.replayEnabled";    // Boolean, true when unset
inline constexpr std::string_view replayAddsClip = "Tavorin.replayAddsClip";  // Boolean, true when unset
inline constexpr std::string_view studioMode = "Tavorin.studioMode";
inline constexpr std::string_view sysAudioExcludedApps = "Tavorin.sysAudioExcludedApps";
inline constexpr std::string_view twitchClientID = "Tavorin.twitchClientID";
inline constexpr std::string_view vcamEnabled = "Tavorin.vcamEnabled";  // Boolean, true when unset
inline constexpr std::string_view verticalStudioMode = "Tavorin.verticalStudioMode";

// View settings of the user interface, under their short names.
inline constexpr std::string_view showVerticalCanvas = "showVerticalCanvas";
inline constexpr std::string_view inspectorPinned = "tvInspectorPinned";
inline constexpr std::string_view sidebarLayersFraction = "sidebarLayersFraction";
inline constexpr std::string_view layoutsList = "layoutsList";
inline constexpr std::string_view monitorHeight = "monitorHeight";
inline constexpr std::string_view studioCompactList = "tvStudioCompactList";

// Object: the main window's place and size ("x", "y", "width", "height", "maximized").
inline constexpr std::string_view windowState = "Tavorin.windowState";

}  // namespace tavorin::prefkey
