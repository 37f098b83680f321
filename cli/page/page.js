"use strict";
// The page's own interpolation: four points around a time, Hermite polynomial through their states, as the library does.

const kWindow = 4;
const kLargestMeanSpacing_s = 61 * 60;
const kEarthRadius_km = 6378.137;
const kMu_km3_s2 = 398600.4418;
const kPointsOfCircle = 64;  // on a circle at the lowest height
const kMostDrawn = 30000;    // points of all orbits, so that turning the view stays smooth
const kColours = ["#56b4e9", "#e69f00", "#2fc79a", "#ff7f3f", "#e59bc4", "#8fd0ff", "#f0e442", "#ffffff"];

function decoded(base64) {
    const bytes = Uint8Array.from(atob(base64), c => c.charCodeAt(0));
    return new Float64Array(bytes.buffer);
}

function period_s(radius_km) { return 2 * Math.PI * Math.sqrt(radius_km ** 3 / kMu_km3_s2); }

class Satellite {
    constructor(entry, index) {
        this.name = entry.name;
        this.frame = entry.frame;
        this.colour = index < kColours.length ? kColours[index] : "#8a8f98";
        this.values = decoded(entry.points);  // seconds, x, y, z, vx, vy, vz
        this.count = this.values.length / 7;
        this.from_s = entry.from_s;  // where it answers; the points beyond are for windows alone
        this.to_s = entry.to_s;
        let least_km = Infinity;
        this.largest_km = 0;
        this.hasVelocities = false;
        for (let i = 0; i < this.count; ++i) {
            const [at, values] = [7 * i, this.values];
            const radius_km = Math.hypot(values[at + 1], values[at + 2], values[at + 3]);
            least_km = Math.min(least_km, radius_km);
            this.largest_km = Math.max(this.largest_km, radius_km);
            this.hasVelocities ||= values[at + 4] !== 0 || values[at + 5] !== 0 || values[at + 6] !== 0;
        }
        // What is inside the earth is a fault, and has no period.
        this.chord_s = period_s(Math.max(least_km, kEarthRadius_km)) / kPointsOfCircle;
        this.revolution_s = period_s(Math.max((least_km + this.largest_km) / 2, kEarthRadius_km));
    }

    time(i) { return this.values[7 * i]; }
    position(i) { return this.values.subarray(7 * i + 1, 7 * i + 4); }

    // The interval that holds a time, or -1.
    intervalAt(t) {
        if (this.count < 2 || !(t >= this.from_s && t <= this.to_s)) return -1;
        let low = 0, high = this.count - 1;
        while (high - low > 1) {
            const middle = (low + high) >> 1;
            if (this.time(middle) <= t) low = middle; else high = middle;
        }
        return low;
    }

    // Six numbers, km and km/s, or null where there is no answer.
    state(t) {
        const i = this.intervalAt(t);
        if (i < 0) return null;
        for (const k of [i, i + 1])
            if (t === this.time(k)) return Array.from(this.values.subarray(7 * k + 1, 7 * k + 7));
        if (this.count < kWindow) return null;
        const first = Math.min(Math.max(i - 1, 0), this.count - kWindow);
        const mean_s = (this.time(first + kWindow - 1) - this.time(first)) / (kWindow - 1);
        return mean_s > kLargestMeanSpacing_s ? null : this.interpolated(t, first);
    }

    interpolated(t, first) {
        const state = [0, 0, 0, 0, 0, 0];
        for (let k = first; k < first + kWindow; ++k) {
            let lagrange = 1, slope = 0, rate = 0;
            for (let j = first; j < first + kWindow; ++j) {
                if (j === k) continue;
                const apart = this.time(k) - this.time(j);
                lagrange *= (t - this.time(j)) / apart;
                slope += 1 / apart;
                rate += 1 / (t - this.time(j));
            }
            const since = t - this.time(k), square = lagrange * lagrange;
            const ofPosition = (1 - 2 * slope * since) * square, ofVelocity = since * square;
            const positionRate = 2 * square * (rate * (1 - 2 * slope * since) - slope);
            const velocityRate = square * (1 + 2 * rate * since);
            for (let axis = 0; axis < 3; ++axis) {
                const x = this.values[7 * k + 1 + axis], v = this.values[7 * k + 4 + axis];
                state[axis] += ofPosition * x + ofVelocity * v;
                state[axis + 3] += positionRate * x + velocityRate * v;
            }
        }
        return state;
    }
}

// ---- Times ----

// Times are seconds of TAI since the first point of all. Days are counted from 1950 Jan 0.0, as in the library, so that
// they round alike.
const kSecondsPerDay = 86400, kDayOf1970 = 7306;

// TAI minus UTC in days at a time of UTC.
function offsetOf(utc_days) {
    let offset_s = data.tai_minus_utc[0][1];
    for (const [from_days, value_s] of data.tai_minus_utc) if (from_days <= utc_days) offset_s = value_s;
    return offset_s / kSecondsPerDay;
}

function utcText(seconds) {
    const tai_days = data.start_tai_days + seconds / kSecondsPerDay;
    const utc_days = tai_days - offsetOf(tai_days - offsetOf(tai_days));
    return new Date(Math.round((utc_days - kDayOf1970) * kSecondsPerDay * 1000)).toISOString().slice(0, 23);
}

// The reverse, or null.
function secondsOf(text) {
    const match = /^(\d{4}-\d\d-\d\d)T(\d\d):(\d\d):(\d\d(?:\.\d+)?)Z?$/.exec(text.trim());
    if (!match || isNaN(Date.parse(match[1]))) return null;
    const day = Date.parse(match[1]) / (1000 * kSecondsPerDay) + kDayOf1970;
    const utc_days = day + (Number(match[2]) * 3600 + Number(match[3]) * 60 + Number(match[4])) / kSecondsPerDay;
    return (utc_days + offsetOf(utc_days) - data.start_tai_days) * kSecondsPerDay;
}

const data = JSON.parse(document.getElementById("data").textContent);
const satellites = data.satellites.map((entry, index) => new Satellite(entry, index));
const farthest_km = satellites.reduce((farthest, satellite) => Math.max(farthest, satellite.largest_km), kEarthRadius_km);

// ---- The view ----

const canvas = document.getElementById("view");
const view = { matrix: [1, 0, 0, 0, 0.5, 0.866, 0, -0.866, 0.5], zoom: 1, pointers: new Map(), spread: 0 };

function multiplied(a, b) {
    const product = [];
    for (let row = 0; row < 3; ++row)
        for (let column = 0; column < 3; ++column)
            product.push(a[3 * row] * b[column] + a[3 * row + 1] * b[column + 3] + a[3 * row + 2] * b[column + 6]);
    return product;
}

function turn(dx, dy) {
    const [cx, sx, cy, sy] = [Math.cos(dx), Math.sin(dx), Math.cos(dy), Math.sin(dy)];
    const aboutUp = [cx, 0, sx, 0, 1, 0, -sx, 0, cx], aboutRight = [1, 0, 0, 0, cy, -sy, 0, sy, cy];
    view.matrix = multiplied(multiplied(aboutRight, aboutUp), view.matrix);
    draw();
}

function projector(width, height) {
    const m = view.matrix, scale = 0.46 * Math.min(width, height) / farthest_km * view.zoom;
    return (x, y, z) => [width / 2 + scale * (m[0] * x + m[1] * y + m[2] * z),
                         height / 2 - scale * (m[3] * x + m[4] * y + m[5] * z),
                         m[6] * x + m[7] * y + m[8] * z];
}

// Behind the earth: farther than its centre and within its disc.
function isHidden(x, y, z) {
    const m = view.matrix;
    const depth = m[6] * x + m[7] * y + m[8] * z;
    return depth < 0 && Math.hypot(m[0] * x + m[1] * y + m[2] * z, m[3] * x + m[4] * y + m[5] * z) < kEarthRadius_km;
}

function drawGraticule(context, project) {
    const circle = (point, shade) => {
        for (let degrees = 0; degrees < 360; degrees += 5) {
            const a = point(degrees * Math.PI / 180), b = point((degrees + 5) * Math.PI / 180);
            const pa = project(...a), pb = project(...b);
            context.strokeStyle = pa[2] + pb[2] < 0 ? "#252c3a" : shade;
            context.beginPath();
            context.moveTo(pa[0], pa[1]);
            context.lineTo(pb[0], pb[1]);
            context.stroke();
        }
    };
    const r = kEarthRadius_km;
    for (let longitude = 0; longitude < 180; longitude += 30) {
        const c = r * Math.cos(longitude * Math.PI / 180), s = r * Math.sin(longitude * Math.PI / 180);
        circle(a => [c * Math.cos(a), s * Math.cos(a), r * Math.sin(a)], "#5a6578");
    }
    for (let latitude = -60; latitude <= 60; latitude += 30) {
        const c = r * Math.cos(latitude * Math.PI / 180), s = r * Math.sin(latitude * Math.PI / 180);
        circle(a => [c * Math.cos(a), c * Math.sin(a), s], latitude === 0 ? "#8a95a8" : "#5a6578");
    }
}

// ---- Orbits ----

// Which parts of the orbits are drawn: all of them, one revolution each of many long ones, or a few of too many.
class Drawing {
    constructor() {
        const drawable = satellites.filter(satellite => satellite.from_s < satellite.to_s);
        const pointsOf = (satellite, length_s) => Math.ceil(length_s / satellite.chord_s) + 1;
        const total = drawable.reduce((sum, s) => sum + pointsOf(s, s.to_s - s.from_s), 0);
        this.isWhole = total <= kMostDrawn;
        this.satellites = [];
        let points = 0;
        for (const satellite of drawable) {
            points += pointsOf(satellite, satellite.revolution_s);
            if (this.isWhole || points <= kMostDrawn) this.satellites.push(satellite);
        }
        const some = `the first ${this.satellites.length} of ${drawable.length} satellites`;
        const which = this.satellites.length < drawable.length ? some : "each satellite";
        document.getElementById("drawn").textContent =
            this.isWhole ? "" : `One revolution of ${which} is drawn, up to the time.`;
    }

    // Positions a chord apart, null where there is no answer.
    pathOf(satellite, t) {
        const first_s = satellite.from_s;
        const to_s = this.isWhole ? satellite.to_s
                                  : Math.min(Math.max(t, first_s + satellite.revolution_s), satellite.to_s);
        const from_s = this.isWhole ? first_s : Math.max(to_s - satellite.revolution_s, first_s);
        if (satellite.path && satellite.path.from_s === from_s) return satellite.path.points;
        const points = satellite.hasVelocities ? this.between(satellite, from_s, to_s)
                                               : this.stored(satellite, from_s, to_s);
        satellite.path = { from_s, points };
        return points;
    }

    between(satellite, from_s, to_s) {
        const count = Math.max(Math.ceil((to_s - from_s) / satellite.chord_s), 1), points = [];
        for (let i = 0; i <= count; ++i)
            points.push(satellite.state(i === count ? to_s : from_s + i * (to_s - from_s) / count));
        return points;
    }

    stored(satellite, from_s, to_s) {
        const points = [];
        for (let i = 0; i < satellite.count; ++i)
            if (satellite.time(i) >= from_s && satellite.time(i) <= to_s) points.push(satellite.position(i));
        return points;
    }
}

function drawOrbit(context, project, satellite, path) {
    context.strokeStyle = satellite.colour;
    let wasHidden = null;
    context.beginPath();
    for (let i = 0; i + 1 < path.length; ++i) {
        const a = path[i], b = path[i + 1];
        if (a === null || b === null) continue;
        const hidden = isHidden(a[0], a[1], a[2]);
        if (hidden !== wasHidden) {
            context.stroke();
            context.beginPath();
            context.globalAlpha = hidden ? 0.25 : 0.8;
            wasHidden = hidden;
        }
        const pa = project(a[0], a[1], a[2]), pb = project(b[0], b[1], b[2]);
        context.moveTo(pa[0], pa[1]);
        context.lineTo(pb[0], pb[1]);
    }
    context.stroke();
    context.globalAlpha = 1;
}

function drawNow(context, project, satellite, t) {
    const state = satellite.state(t);
    if (!state) return;
    const [x, y] = project(state[0], state[1], state[2]);
    context.globalAlpha = isHidden(state[0], state[1], state[2]) ? 0.4 : 1;
    context.fillStyle = satellite.colour;
    context.beginPath();
    context.arc(x, y, 5, 0, 2 * Math.PI);
    context.fill();
    if (satellites.length <= 12) context.fillText(satellite.name, x + 8, y - 6);
    context.globalAlpha = 1;
}

function draw() {
    const ratio = window.devicePixelRatio || 1, width = canvas.clientWidth, height = canvas.clientHeight;
    canvas.width = Math.round(width * ratio);
    canvas.height = Math.round(height * ratio);
    const context = canvas.getContext("2d");
    context.scale(ratio, ratio);
    context.font = "12px sans-serif";
    const project = projector(width, height);
    drawGraticule(context, project);
    for (const satellite of drawing.satellites)
        drawOrbit(context, project, satellite, drawing.pathOf(satellite, now()));
    canvas.dataset.points = drawing.satellites.reduce((sum, satellite) => sum + satellite.path.points.length, 0);
    for (const satellite of satellites) drawNow(context, project, satellite, now());
}

// ---- Time, states ----

const slider = document.getElementById("time");
const kMostListed = 50;

function now() { return Number(slider.value); }

function rowOf(cells, tag) {
    const row = document.createElement("tr");
    for (const text of cells) row.appendChild(document.createElement(tag)).textContent = text;
    return row;
}

function cellsOf(satellite, t) {
    const state = satellite.state(t);
    if (!state) return [satellite.name, satellite.frame, "no answer"];
    return [satellite.name, satellite.frame, ...state.map((value, i) => value.toFixed(i < 3 ? 6 : 9))];
}

function showStates() {
    document.getElementById("utc").textContent = utcText(now()) + " UTC";
    const table = document.getElementById("states");
    table.replaceChildren(rowOf(["satellite", "frame", "x (km)", "y (km)", "z (km)", "vx (km/s)", "vy (km/s)",
                                 "vz (km/s)"], "th"));
    for (const satellite of satellites.slice(0, kMostListed)) table.appendChild(rowOf(cellsOf(satellite, now()), "td"));
    if (satellites.length > kMostListed)
        table.appendChild(rowOf([`and ${satellites.length - kMostListed} more`], "td"));
}

// #at=2026-01-31T01:00:00,... in the page's address sets the time to the first one and lists the states at all of them.
function readAddress() {
    const match = /^#at=(.+)$/.exec(decodeURIComponent(location.hash));
    if (!match) return;
    const list = document.getElementById("at");
    list.replaceChildren();
    let isFirst = true;
    for (const text of match[1].split(",")) {
        const t = secondsOf(text);
        if (t === null) {
            list.appendChild(rowOf([text, "is not a time such as 2026-01-31T01:00:00"], "td"));
            continue;
        }
        if (isFirst) slider.value = t;
        isFirst = false;
        for (const satellite of satellites.slice(0, kMostListed))
            list.appendChild(rowOf([text, ...cellsOf(satellite, t)], "td"));
    }
}

function showAll() {
    showStates();
    draw();
}

slider.max = data.length_s;
slider.addEventListener("input", showAll);
window.addEventListener("resize", draw);
window.addEventListener("hashchange", () => { readAddress(); showAll(); });
canvas.addEventListener("wheel", event => {
    event.preventDefault();
    view.zoom = Math.min(Math.max(view.zoom * Math.exp(-event.deltaY / 600), 0.3), 200);
    draw();
}, { passive: false });
canvas.addEventListener("pointerdown", event => {
    canvas.setPointerCapture(event.pointerId);
    view.pointers.set(event.pointerId, [event.clientX, event.clientY]);
    view.spread = 0;
});
for (const name of ["pointerup", "pointercancel"])
    canvas.addEventListener(name, event => { view.pointers.delete(event.pointerId); view.spread = 0; });
canvas.addEventListener("pointermove", event => {
    const before = view.pointers.get(event.pointerId);
    if (!before) return;
    view.pointers.set(event.pointerId, [event.clientX, event.clientY]);
    if (view.pointers.size === 1) return turn((event.clientX - before[0]) / 200, (event.clientY - before[1]) / 200);
    const [a, b] = [...view.pointers.values()], spread = Math.hypot(a[0] - b[0], a[1] - b[1]);
    if (view.spread > 0) view.zoom = Math.min(Math.max(view.zoom * spread / view.spread, 0.3), 200);
    view.spread = spread;
    draw();
});
const drawing = new Drawing();
readAddress();
showAll();
