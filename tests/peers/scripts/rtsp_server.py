#!/usr/bin/python3
"""A camera on loopback for the RTSP tests: GStreamer's RTSP server with one
H.264 stream at /cam over TCP only, optionally behind Basic or Digest
authentication and with an AAC stream described before the video.

    rtsp_server.py PORT [--auth basic|digest USER PASSWORD] [--audio-first]
                        [--size WxH] [--fps N] [--pattern NAME] [--bitrate KBPS]
                        [--codec h264|h265] [--file MP4]
"""
import argparse

import gi

gi.require_version("Gst", "1.0")
gi.require_version("GstRtspServer", "1.0")
gi.require_version("GstRtsp", "1.0")
from gi.repository import GLib, Gst, GstRtsp, GstRtspServer  # noqa: E402

parser = argparse.ArgumentParser()
parser.add_argument("port", type=int)
parser.add_argument("--auth", nargs=3, metavar=("METHOD", "USER", "PASSWORD"))
parser.add_argument("--audio-first", action="store_true")
parser.add_argument("--size", default="320x240")
parser.add_argument("--fps", type=int, default=30)
parser.add_argument("--pattern", default="smpte")
parser.add_argument("--bitrate", type=int, default=800)
parser.add_argument("--codec", choices=["h264", "h265"], default="h264")
parser.add_argument("--file", help="serve this MP4's H.264 and AAC instead of the test pattern")
args = parser.parse_args()

Gst.init(None)
width, height = args.size.split("x")
encode = {"h264": f"x264enc tune=zerolatency speed-preset=ultrafast bitrate={args.bitrate} key-int-max={args.fps}",
          "h265": f"x265enc tune=zerolatency speed-preset=ultrafast bitrate={args.bitrate} key-int-max={args.fps}"}
video = (f"videotestsrc is-live=true pattern={args.pattern} ! video/x-raw,width={width},height={height},"
         f"framerate={args.fps}/1 ! {encode[args.codec]} ! rtp{args.codec}pay name=pay{1 if args.audio_first else 0} "
         "pt=96 config-interval=1")
audio = "audiotestsrc is-live=true wave=ticks ! audio/x-raw,rate=48000,channels=2 ! voaacenc ! rtpmp4gpay name=pay0 pt=97"
launch = f"( {audio} {video} )" if args.audio_first else f"( {video} )"
if args.file:
    launch = (f"( filesrc location={args.file} ! qtdemux name=d d.video_0 ! queue ! h264parse ! "
              "rtph264pay name=pay0 pt=96 config-interval=1 d.audio_0 ! queue ! aacparse ! rtpmp4gpay name=pay1 pt=97 )")

server = GstRtspServer.RTSPServer()
server.set_address("127.0.0.1")
server.set_service(str(args.port))
factory = GstRtspServer.RTSPMediaFactory()
factory.set_launch(launch)
factory.set_shared(True)
factory.set_protocols(GstRtsp.RTSPLowerTrans.TCP)

if args.auth:
    method, user, password = args.auth
    auth = GstRtspServer.RTSPAuth()
    token = GstRtspServer.RTSPToken()
    token.set_string(GstRtspServer.RTSP_TOKEN_MEDIA_FACTORY_ROLE, "user")
    if method == "basic":
        auth.add_basic(GstRtspServer.RTSPAuth.make_basic(user, password), token)
        auth.set_supported_methods(GstRtsp.RTSPAuthMethod.BASIC)
    else:
        auth.add_digest(user, password, token)
        auth.set_supported_methods(GstRtsp.RTSPAuthMethod.DIGEST)
    server.set_auth(auth)
    permissions = GstRtspServer.RTSPPermissions()
    permissions.add_role_from_structure(Gst.Structure.new_from_string(
        "user, media.factory.access=(boolean)true, media.factory.construct=(boolean)true"))
    factory.set_permissions(permissions)

server.get_mount_points().add_factory("/cam", factory)
server.attach(None)
print("ready", flush=True)
GLib.MainLoop().run()
