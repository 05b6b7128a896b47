#!/usr/bin/python3
"""Keys a picture in the whole of OBS Studio, steered by its own remote control, and saves what the scene looks like.

Usage: xvfb-run -a -s "-screen 0 1280x800x24" Tests/Shells/obs/whole_obs.py FILTER.so PICTURE.png OUT_FOLDER

FILTER.so is obs-zchromakey.so with libZChromaKey.so beside it. Packages: obs-studio obs-plugins python3-websocket xvfb
xauth libgl1-mesa-dri. Not part of ./zk test, which drives the library alone. Look at the pictures.
"""

import json
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import time

import websocket

PORT = 4455


def prepare_home(home: pathlib.Path, filter_file: pathlib.Path) -> None:
    """A user who has started OBS before, so that no wizard asks, with the plug-in and the remote control on."""
    config = home / ".config/obs-studio"
    plugin = config / "plugins/obs-zchromakey/bin/64bit"
    plugin.mkdir(parents=True)
    for file in (filter_file, filter_file.with_name("libZChromaKey.so")):
        shutil.copy(file, plugin)
    (config / "global.ini").write_text(
        "[General]\nFirstRun=true\nEnableAutoUpdates=false\nLastVersion=503447552\nInfoIncrement=1\n"
        f"[OBSWebSocket]\nFirstLoad=false\nServerEnabled=true\nServerPort={PORT}\nAuthRequired=false\n"
        "[Basic]\nProfile=U\nProfileDir=U\n")
    remote = config / "plugin_config/obs-websocket"
    remote.mkdir(parents=True)
    (remote / "config.json").write_text(json.dumps(
        {"auth_required": False, "first_load": False, "server_enabled": True, "server_port": PORT}))
    profile = config / "basic/profiles/U"
    profile.mkdir(parents=True)
    (config / "basic/scenes").mkdir()
    (profile / "basic.ini").write_text(
        "[General]\nName=U\n[Video]\nBaseCX=640\nBaseCY=360\nOutputCX=640\nOutputCY=360\nFPSCommon=30\n")


class Remote:
    """obs-websocket, version 5."""

    def __init__(self) -> None:
        self.socket = websocket.WebSocket()
        for attempt in range(120):
            try:
                self.socket.connect(f"ws://127.0.0.1:{PORT}")
                break
            except OSError:
                time.sleep(0.5)
        self.socket.recv()
        self.socket.send(json.dumps({"op": 1, "d": {"rpcVersion": 1, "eventSubscriptions": 0}}))
        self.socket.recv()
        self.calls = 0

    def call(self, request: str, **data: object) -> dict:
        self.calls += 1
        self.socket.send(json.dumps({"op": 6, "d": {
            "requestType": request, "requestId": str(self.calls), "requestData": data}}))
        answer = json.loads(self.socket.recv())["d"]
        if not answer["requestStatus"]["result"]:
            sys.exit(f"{request}: {answer['requestStatus']}")
        return answer.get("responseData") or {}


def drive(picture: pathlib.Path, out: pathlib.Path) -> str:
    remote = Remote()
    print("OBS", remote.call("GetVersion")["obsVersion"])
    remote.call("CreateScene", sceneName="T")
    remote.call("SetCurrentProgramScene", sceneName="T")
    remote.call("CreateInput", sceneName="T", inputName="back", inputKind="color_source_v3",
                inputSettings={"color": 0xFF804020, "width": 640, "height": 360})
    remote.call("CreateInput", sceneName="T", inputName="actor", inputKind="image_source",
                inputSettings={"file": str(picture)})
    remote.call("CreateSourceFilter", sourceName="actor", filterName="key", filterKind="zchromakey", filterSettings={})
    time.sleep(3)
    for source, name in (("actor", "actor.png"), ("T", "scene.png")):
        remote.call("SaveSourceScreenshot", sourceName=source, imageFormat="png", imageFilePath=str(out / name))
    remote.call("SetSourceFilterSettings", sourceName="actor", filterName="key", filterSettings={"param_view": 1})
    time.sleep(1)
    remote.call("SaveSourceScreenshot", sourceName="actor", imageFormat="png", imageFilePath=str(out / "matte.png"))
    stats = remote.call("GetStats")
    print(f"render time {stats['averageFrameRenderTime']:.2f} ms, processor {stats['cpuUsage']:.0f} %")
    return str(out / "scene.png")


def main() -> int:
    filter_file, picture, out = (pathlib.Path(arg).resolve() for arg in sys.argv[1:4])
    out.mkdir(parents=True, exist_ok=True)
    with tempfile.TemporaryDirectory() as folder:
        home = pathlib.Path(folder)
        prepare_home(home, filter_file)
        environment = dict(os.environ, HOME=folder, XDG_CONFIG_HOME=str(home / ".config"), XDG_RUNTIME_DIR=folder,
                           QT_QPA_PLATFORM="xcb", LIBGL_ALWAYS_SOFTWARE="1")
        with open(out / "obs.log", "w", encoding="utf-8") as log:
            obs = subprocess.Popen(["obs", "--multi", "--disable-updater", "--disable-missing-files-check"],
                                   env=environment, stdout=log, stderr=log)
            try:
                drive(picture, out)
            finally:
                obs.terminate()
                obs.wait(20)
    for line in (out / "obs.log").read_text(encoding="utf-8").splitlines():
        if "zchromakey" in line or "memory leaks" in line:
            print(line)
    return 0


if __name__ == "__main__":
    sys.exit(main())
