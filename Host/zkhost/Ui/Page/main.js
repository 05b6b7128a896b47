// Starts the page: the parts listen to each other, then the program is asked.

import { startAreas } from "./areas.js";
import { startCrosshair } from "./crosshair.js";
import { byId, write } from "./dom.js";
import { wantFrame } from "./frames.js";
import { startHelp } from "./help.js";
import { startKeysPanel } from "./keyspanel.js";
import { startLists } from "./lists.js";
import { lasting } from "./notices.js";
import { startCursor, startOverlay } from "./overlay.js";
import { startParams } from "./params.js";
import { startPicture } from "./picture.js";
import { startPlayer } from "./player.js";
import { startPointers } from "./pointers.js";
import { startProbe } from "./probe.js";
import { startRender } from "./render.js";
import { connection, follow, stateTaken } from "./server.js";
import { startShortcuts } from "./shortcuts.js";
import { startStats } from "./stats.js";
import { startTimeline } from "./timeline.js";
import { startTools } from "./tools.js";
import { startTopbar } from "./topbar.js";
import { startViewbar } from "./viewbar.js";
import { setClip, setScreen } from "./viewport.js";
import { startWatch } from "./watch.js";

const NO_CLIP = "No clip is open. Start the program with one: zkhost ui CLIP";

/** The canvases have the pixels of the device, whatever the browser's zoom is. */
function fitScreen() {
    const { clientWidth, clientHeight } = byId("screen");
    const ratio = window.devicePixelRatio || 1;
    setScreen(Math.max(1, Math.round(clientWidth * ratio)), Math.max(1, Math.round(clientHeight * ratio)));
}

/** What of the state changes the picture; a job's progress does not. */
function pictureOf({ clip, keyer, params, keys, protected: kept, regions, slot, learn }) {
    return JSON.stringify([clip, keyer, params.map((param) => param.value), keys, kept, regions, slot, learn]);
}

function onState(state, before) {
    lasting(state.clip ? "" : NO_CLIP);
    byId("hint").hidden = state.found || !state.clip || !state.hint;
    write(byId("hint"), state.hint ?? "");
    if (!state.clip) return;
    setClip(state.clip);
    if (!before || pictureOf(state) !== pictureOf(before)) wantFrame();
}

function onConnection(refusal) {
    if (refusal) lasting(refusal.message);
    else wantFrame();
}

for (const start of [startPicture, startViewbar, startTools, startAreas, startPointers, startProbe, startCrosshair,
    startOverlay, startCursor, startPlayer, startTimeline, startTopbar, startKeysPanel, startParams, startLists,
    startRender, startStats, startShortcuts, startHelp, startWatch]) start();
stateTaken.listen(onState);
connection.listen(onConnection);
new ResizeObserver(fitScreen).observe(byId("screen"));
fitScreen();
follow();
