#include "platform/media/HardwareEncoders.h"

#include <algorithm>
#include <filesystem>

#include "platform/media/FFmpegPointers.h"

extern "C" {
#include <libavutil/hwcontext.h>
}

namespace tavorin {

namespace {

constexpr int kProbeSize = 256;

std::string firstRenderNode() {
  std::error_code error;
  std::vector<std::string> nodes;
  for (const auto& entry : std::filesystem::directory_iterator("/dev/dri", error)) {
    const auto name = entry.path().filename().string();
    if (name.rfind("renderD", 0) == 0) nodes.push_back(entry.path().string());
  }
  std::sort(nodes.begin(), nodes.end());
  return nodes.empty() ? std::string() : nodes.front();
}

// Opens the encoder on a small picture, quietly: a missing device is an answer, not an error to print.
bool opens(const char* name, AVBufferRef* vaapiDevice) {
  const AVCodec* codec = avcodec_find_encoder_by_name(name);
  if (!codec) return false;
  ffmpeg::CodecContextPtr context(avcodec_alloc_context3(codec));
  if (!context) return false;
  context->width = kProbeSize;
  context->height = kProbeSize;
  context->time_base = AVRational{1, 30};
  context->framerate = AVRational{30, 1};
  context->pix_fmt = AV_PIX_FMT_YUV420P;
  ffmpeg::BufferRefPtr frames;
  if (vaapiDevice) {
    frames.reset(av_hwframe_ctx_alloc(vaapiDevice));
    if (!frames) return false;
    auto* setup = reinterpret_cast<AVHWFramesContext*>(frames->data);
    setup->format = AV_PIX_FMT_VAAPI;
    setup->sw_format = AV_PIX_FMT_NV12;
    setup->width = kProbeSize;
    setup->height = kProbeSize;
    if (av_hwframe_ctx_init(frames.get()) < 0) return false;
    context->pix_fmt = AV_PIX_FMT_VAAPI;
    context->hw_frames_ctx = av_buffer_ref(frames.get());
  }
  return avcodec_open2(context.get(), codec, nullptr) >= 0;
}

}  // namespace

std::vector<std::string> HardwareEncoders::candidates(VideoCodecKind codec, bool preferHardware) const {
  std::vector<std::string> names;
  switch (codec) {
    case VideoCodecKind::proRes422:
      return {"prores_ks"};
    case VideoCodecKind::hevc:
      if (preferHardware && nvencHevc) names.push_back("hevc_nvenc");
      if (preferHardware && vaapiHevc) names.push_back("hevc_vaapi");
      // No software HEVC encoder keeps real time here: H.264 stands in.
      names.push_back("libx264");
      return names;
    case VideoCodecKind::h264:
      if (preferHardware && nvencH264) names.push_back("h264_nvenc");
      if (preferHardware && vaapiH264) names.push_back("h264_vaapi");
      names.push_back("libx264");
      return names;
  }
  return names;
}

HardwareEncoders probeHardwareEncoders(const std::string& renderNode) {
  HardwareEncoders found;
  const int level = av_log_get_level();
  av_log_set_level(AV_LOG_QUIET);
  found.nvencH264 = opens("h264_nvenc", nullptr);
  found.nvencHevc = opens("hevc_nvenc", nullptr);
  const std::string node = renderNode.empty() ? firstRenderNode() : renderNode;
  if (!node.empty()) {
    AVBufferRef* made = nullptr;
    if (av_hwdevice_ctx_create(&made, AV_HWDEVICE_TYPE_VAAPI, node.c_str(), nullptr, 0) >= 0) {
      ffmpeg::BufferRefPtr device(made);
      found.vaapiH264 = opens("h264_vaapi", device.get());
      found.vaapiHevc = opens("hevc_vaapi", device.get());
      if (found.vaapiH264 || found.vaapiHevc) found.renderNode = node;
    }
  }
  av_log_set_level(level);
  return found;
}

}  // namespace tavorin
