// Polygons as lists of {x, y}, in pixels of the picture.

/** "x,y x,y x,y" as the program has them, in tenths of a pixel. */
export function toText(points) {
    return points.map(({ x, y }) => `${tenth(x)},${tenth(y)}`).join(" ");
}

function tenth(value) {
    return Math.round(value * 10) / 10;
}

export function fromText(text) {
    return text.split(" ").filter(Boolean).map((corner) => {
        const [x, y] = corner.split(",").map(Number);
        return { x, y };
    });
}

/** The index of the nearest point that is no further than `reach`, or -1. */
export function pointNear(points, at, reach) {
    let best = -1;
    let least = reach;
    points.forEach((point, index) => {
        const distance = Math.hypot(point.x - at.x, point.y - at.y);
        if (distance <= least) [best, least] = [index, distance];
    });
    return best;
}

/** The index that a new point on the nearest side would have, or -1 where no side is as near as `reach`. */
export function sideNear(points, at, reach) {
    let best = -1;
    let least = reach;
    points.forEach((from, index) => {
        const distance = distanceToSide(from, points[(index + 1) % points.length], at);
        if (distance <= least) [best, least] = [index + 1, distance];
    });
    return best;
}

function distanceToSide(from, to, at) {
    const dx = to.x - from.x;
    const dy = to.y - from.y;
    const along = ((at.x - from.x) * dx + (at.y - from.y) * dy) / (dx * dx + dy * dy || 1);
    const share = Math.min(Math.max(along, 0), 1);
    return Math.hypot(at.x - from.x - share * dx, at.y - from.y - share * dy);
}
