#include "platform/pipewire/PipeWireCameraCapture.h"

#include <pipewire/pipewire.h>
#include <spa/param/format-utils.h>
#include <spa/param/video/format-utils.h>
#include <spa/pod/builder.h>
#include <spa/utils/result.h>

#include <algorithm>

#include "base/HostTime.h"
#include "platform/capture/CameraErrors.h"

namespace tavorin {
namespace {

constexpr int maximumSide = 8192;

std::optional<CameraPixelFormat> pixelFormatOf(spa_video_format format) {
  switch (format) {
    case SPA_VIDEO_FORMAT_YUY2: return CameraPixelFormat::yuyv;
    case SPA_VIDEO_FORMAT_NV12: return CameraPixelFormat::nv12;
    case SPA_VIDEO_FORMAT_I420: return CameraPixelFormat::i420;
    case SPA_VIDEO_FORMAT_BGRx: return CameraPixelFormat::bgrx;
    case SPA_VIDEO_FORMAT_RGBx: return CameraPixelFormat::rgbx;
    case SPA_VIDEO_FORMAT_BGRA: return CameraPixelFormat::bgra;
    default: return std::nullopt;
  }
}

ColourMatrix matrixOf(spa_video_color_matrix matrix) {
  if (matrix == SPA_VIDEO_COLOR_MATRIX_BT601) return ColourMatrix::bt601;
  if (matrix == SPA_VIDEO_COLOR_MATRIX_BT709) return ColourMatrix::bt709;
  return ColourMatrix::unspecified;
}

ColourRange rangeOf(spa_video_color_range range) {
  if (range == SPA_VIDEO_COLOR_RANGE_0_255) return ColourRange::full;
  if (range == SPA_VIDEO_COLOR_RANGE_16_235) return ColourRange::limited;
  return ColourRange::unspecified;
}

// Raw in the forms the converter reads, or MJPEG; the size the limits ask
// for preferred, anything up to 8K taken.
const spa_pod* buildEnumFormat(spa_pod_builder& builder, bool jpeg, CaptureLimits limits) {
  const spa_rectangle preferred{static_cast<uint32_t>(limits.width), static_cast<uint32_t>(limits.height)};
  const spa_rectangle smallest{1, 1};
  const spa_rectangle largest{maximumSide, maximumSide};
  const spa_fraction rate{30, 1};
  const spa_fraction slowest{0, 1};
  const spa_fraction fastest{1000, 1};
  spa_pod_frame frame;
  spa_pod_builder_push_object(&builder, &frame, SPA_TYPE_OBJECT_Format, SPA_PARAM_EnumFormat);
  spa_pod_builder_add(&builder, SPA_FORMAT_mediaType, SPA_POD_Id(SPA_MEDIA_TYPE_video), 0);
  if (jpeg) {
    spa_pod_builder_add(&builder, SPA_FORMAT_mediaSubtype, SPA_POD_Id(SPA_MEDIA_SUBTYPE_mjpg), 0);
  } else {
    spa_pod_builder_add(&builder, SPA_FORMAT_mediaSubtype, SPA_POD_Id(SPA_MEDIA_SUBTYPE_raw), SPA_FORMAT_VIDEO_format,
                        SPA_POD_CHOICE_ENUM_Id(7, SPA_VIDEO_FORMAT_YUY2, SPA_VIDEO_FORMAT_YUY2, SPA_VIDEO_FORMAT_NV12,
                                               SPA_VIDEO_FORMAT_I420, SPA_VIDEO_FORMAT_BGRx, SPA_VIDEO_FORMAT_RGBx,
                                               SPA_VIDEO_FORMAT_BGRA),
                        0);
  }
  spa_pod_builder_add(&builder, SPA_FORMAT_VIDEO_size, SPA_POD_CHOICE_RANGE_Rectangle(&preferred, &smallest, &largest),
                      SPA_FORMAT_VIDEO_framerate, SPA_POD_CHOICE_RANGE_Fraction(&rate, &slowest, &fastest), 0);
  return static_cast<const spa_pod*>(spa_pod_builder_pop(&builder, &frame));
}

// The buffer's own capture time when it is on our clock and recent, else now.
double captureTime(const spa_buffer& buffer) {
  const double now = hostTimeNow();
  const auto* header =
      static_cast<const spa_meta_header*>(spa_buffer_find_meta_data(&buffer, SPA_META_Header, sizeof(spa_meta_header)));
  if (!header || header->pts <= 0) return now;
  const double pts = static_cast<double>(header->pts) * 1e-9;
  return pts <= now && now - pts < 1.0 ? pts : now;
}

}  // namespace

struct PipeWireCameraCapture::Events {
  static void stateChanged(void* data, pw_stream_state /*old*/, pw_stream_state state, const char* error) {
    auto* self = static_cast<PipeWireCameraCapture*>(data);
    if (state == PW_STREAM_STATE_ERROR) self->stopped(error && *error ? error : kCameraDisconnected);
  }

  static void paramChanged(void* data, uint32_t id, const spa_pod* param) {
    auto* self = static_cast<PipeWireCameraCapture*>(data);
    if (id != SPA_PARAM_Format || !param) return;
    self->format_.reset();
    std::uint32_t mediaType = 0;
    std::uint32_t mediaSubtype = 0;
    if (spa_format_parse(param, &mediaType, &mediaSubtype) < 0 || mediaType != SPA_MEDIA_TYPE_video) return;
    CameraFrameFormat format;
    if (mediaSubtype == SPA_MEDIA_SUBTYPE_raw) {
      spa_video_info_raw info{};
      if (spa_format_video_raw_parse(param, &info) < 0) return;
      const auto pixelFormat = pixelFormatOf(info.format);
      if (!pixelFormat) return;
      format = {*pixelFormat, static_cast<int>(info.size.width), static_cast<int>(info.size.height),
                matrixOf(info.color_matrix), rangeOf(info.color_range)};
    } else if (mediaSubtype == SPA_MEDIA_SUBTYPE_mjpg) {
      spa_video_info_mjpg info{};
      if (spa_format_video_mjpg_parse(param, &info) < 0) return;
      format = {CameraPixelFormat::mjpeg, static_cast<int>(info.size.width), static_cast<int>(info.size.height)};
    } else {
      return;
    }
    self->format_ = format;
    {
      std::lock_guard lock(self->stateMutex_);
      self->published_ = format;
    }

    std::uint8_t podBuffer[512];
    spa_pod_builder builder = SPA_POD_BUILDER_INIT(podBuffer, sizeof podBuffer);
    const spa_pod* params[2];
    params[0] = static_cast<const spa_pod*>(spa_pod_builder_add_object(
        &builder, SPA_TYPE_OBJECT_ParamBuffers, SPA_PARAM_Buffers, SPA_PARAM_BUFFERS_buffers,
        SPA_POD_CHOICE_RANGE_Int(4, 2, 16), SPA_PARAM_BUFFERS_dataType,
        SPA_POD_CHOICE_FLAGS_Int((1 << SPA_DATA_MemPtr) | (1 << SPA_DATA_MemFd))));
    params[1] = static_cast<const spa_pod*>(spa_pod_builder_add_object(
        &builder, SPA_TYPE_OBJECT_ParamMeta, SPA_PARAM_Meta, SPA_PARAM_META_type, SPA_POD_Id(SPA_META_Header),
        SPA_PARAM_META_size, SPA_POD_Int(sizeof(spa_meta_header))));
    pw_stream_update_params(self->stream_, params, 2);
  }

  static void process(void* data) {
    auto* self = static_cast<PipeWireCameraCapture*>(data);
    pw_buffer* newest = nullptr;
    while (pw_buffer* buffer = pw_stream_dequeue_buffer(self->stream_)) {
      if (newest) pw_stream_queue_buffer(self->stream_, newest);
      newest = buffer;
    }
    if (!newest) return;
    PixelBufferRef frame = self->convert(*newest->buffer);
    pw_stream_queue_buffer(self->stream_, newest);
    if (frame && self->onFrame_ && !self->stopReported_) self->onFrame_(std::move(frame));
  }
};

PipeWireCameraCapture::PipeWireCameraCapture(std::string nodeName, LogCallback log)
    : nodeName_(std::move(nodeName)), log_(std::move(log)) {}

PipeWireCameraCapture::~PipeWireCameraCapture() { stop(); }

std::optional<std::string> PipeWireCameraCapture::start(CaptureLimits limits, FrameCallback onFrame,
                                                         StoppedCallback onStopped) {
  std::lock_guard control(controlMutex_);
  if (loop_) return std::string("Camera is already streaming.");
  try {
    loop_ = std::make_unique<PipeWireLoop>();
    nodes_ = std::make_unique<PipeWireCameraNodes>(*loop_, [this] {
      // Loop thread: our node left the graph.
      if (watching_ && !nodes_->nodeNamed(nodeName_)) stopped(kCameraDisconnected);
    });
  } catch (const PipeWireFailure& failure) {
    nodes_.reset();
    loop_.reset();
    return std::string(failure.what());
  }
  if (!nodes_->waitUntilSynced() || !nodes_->nodeNamed(nodeName_)) {
    nodes_.reset();
    loop_.reset();
    return std::string(kCameraDisconnected);
  }
  watching_ = true;
  {
    std::lock_guard lock(stateMutex_);
    limits_ = limits;
  }
  converter_.setLimits(limits);
  onFrame_ = std::move(onFrame);
  onStopped_ = std::move(onStopped);
  stopReported_ = false;

  static const pw_stream_events events = [] {
    pw_stream_events e{};
    e.version = PW_VERSION_STREAM_EVENTS;
    e.state_changed = &Events::stateChanged;
    e.param_changed = &Events::paramChanged;
    e.process = &Events::process;
    return e;
  }();
  std::string failure;
  loop_->locked([&] {
    pw_properties* props = pw_properties_new(PW_KEY_MEDIA_TYPE, "Video", PW_KEY_MEDIA_CATEGORY, "Capture",
                                             PW_KEY_MEDIA_ROLE, "Camera", PW_KEY_TARGET_OBJECT, nodeName_.c_str(),
                                             PW_KEY_NODE_DONT_RECONNECT, "true", nullptr);
    stream_ = pw_stream_new(loop_->core(), "Tavorin camera", props);
    if (!stream_) {
      failure = "Camera could not start: PipeWire refused a stream";
      return;
    }
    pw_stream_add_listener(stream_, &streamListener_, &events, this);
    std::uint8_t podBuffer[1024];
    spa_pod_builder builder = SPA_POD_BUILDER_INIT(podBuffer, sizeof podBuffer);
    const spa_pod* params[2] = {buildEnumFormat(builder, false, limits), buildEnumFormat(builder, true, limits)};
    const int result = pw_stream_connect(
        stream_, PW_DIRECTION_INPUT, PW_ID_ANY,
        static_cast<pw_stream_flags>(PW_STREAM_FLAG_AUTOCONNECT | PW_STREAM_FLAG_MAP_BUFFERS), params, 2);
    if (result < 0) {
      failure = std::string("Camera could not start: ") + spa_strerror(result);
      spa_hook_remove(&streamListener_);
      pw_stream_destroy(stream_);
      stream_ = nullptr;
    }
  });
  if (failure.empty()) return std::nullopt;
  loop_->locked([&] { watching_ = false; });
  nodes_.reset();
  loop_.reset();
  return failure;
}

void PipeWireCameraCapture::stop() {
  std::lock_guard control(controlMutex_);
  if (!loop_) return;
  loop_->locked([&] {
    watching_ = false;
    if (!stream_) return;
    spa_hook_remove(&streamListener_);
    pw_stream_disconnect(stream_);
    pw_stream_destroy(stream_);
    stream_ = nullptr;
  });
  nodes_.reset();
  loop_.reset();
  onFrame_ = nullptr;
  onStopped_ = nullptr;
  format_.reset();
  std::lock_guard lock(stateMutex_);
  published_.reset();
}

void PipeWireCameraCapture::setLimits(CaptureLimits limits) {
  std::lock_guard lock(stateMutex_);
  limits_ = limits;
}

std::optional<CameraFrameFormat> PipeWireCameraCapture::format() const {
  std::lock_guard lock(stateMutex_);
  return published_;
}

PixelBufferRef PipeWireCameraCapture::convert(const spa_buffer& buffer) {
  if (!format_ || buffer.n_datas == 0) return nullptr;
  const CameraFrameFormat& format = *format_;
  const spa_data& first = buffer.datas[0];
  if (!first.data || !first.chunk || (first.chunk->flags & SPA_CHUNK_FLAG_CORRUPTED)) return nullptr;
  auto planeAt = [](const spa_data& plane) {
    const std::uint32_t offset = std::min(plane.chunk->offset, plane.maxsize);
    return static_cast<const std::uint8_t*>(plane.data) + offset;
  };
  const std::uint32_t offset = std::min(first.chunk->offset, first.maxsize);
  const std::size_t size = std::min(first.chunk->size, first.maxsize - offset);
  const int bytesPerPixel = format.pixelFormat == CameraPixelFormat::yuyv                                   ? 2
                            : format.pixelFormat == CameraPixelFormat::nv12 ||
                                      format.pixelFormat == CameraPixelFormat::i420 ||
                                      format.pixelFormat == CameraPixelFormat::mjpeg ? 1
                                                                                     : 4;
  const int stride = first.chunk->stride > 0 ? first.chunk->stride : format.width * bytesPerPixel;
  CameraFramePlanes planes = contiguousPlanes(format, planeAt(first), size, stride);
  // Planar pictures may come one plane per data block.
  const std::uint32_t planeCount = format.pixelFormat == CameraPixelFormat::i420   ? 3
                                   : format.pixelFormat == CameraPixelFormat::nv12 ? 2
                                                                                   : 1;
  if (planeCount > 1 && buffer.n_datas >= planeCount) {
    for (std::uint32_t i = 1; i < planeCount; ++i) {
      const spa_data& plane = buffer.datas[i];
      if (!plane.data || !plane.chunk) return nullptr;
      planes.data[i] = planeAt(plane);
      planes.stride[i] = plane.chunk->stride;
    }
  }
  {
    std::lock_guard lock(stateMutex_);
    converter_.setLimits(limits_);
  }
  return converter_.convert(format, planes, captureTime(buffer));
}

void PipeWireCameraCapture::stopped(const std::string& why) {
  if (stopReported_.exchange(true)) return;
  if (onStopped_) onStopped_(why);
}

}  // namespace tavorin
