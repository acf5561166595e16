'use strict';
// The report page: reads the scene (scene.schema.json), shows the lists and the plot, and, where
// WebGL is there, the bodies in 3D. Texts of the scene enter the document as text nodes alone.

const kPalette = ['#8aa4bf', '#e0a458', '#7fb08a', '#b58bb5', '#c7796b', '#6fa8a8', '#a8a06a', '#8f8fc0'];
const kKinds = ['hit', 'warning', 'fault', 'undecided', 'note'];
const kMarkPixels = 7;        // radius of a mark on the screen
const kOutlineLimit = 40000;  // triangles: sharp edges of larger meshes are not outlined
const kFlight = 450;          // milliseconds

// ------------------------------------------------------------------------------------ the scene

function decodeBase64(text) {
  const bytes = atob(text);
  const out = new Uint8Array(bytes.length);
  for (let i = 0; i < bytes.length; ++i) out[i] = bytes.charCodeAt(i);
  return out.buffer;
}

const floats = (text) => new Float32Array(decodeBase64(text));
const integers = (text) => new Uint32Array(decodeBase64(text));

function readScene() {
  const scene = JSON.parse(document.getElementById('scene').textContent);
  if (scene.format !== 'scapi-scene' || scene.version !== 1)
    throw new Error('This page shows scenes of format "scapi-scene", version 1.');
  if (!scene.steps.length) throw new Error('The scene has no steps.');
  for (const body of scene.bodies) {
    const poses = typeof body.poses === 'string' ? floats(body.poses) : body.poses;
    if (poses.length !== 12 && poses.length !== 12 * scene.steps.length)
      throw new Error(`Body "${body.name}" needs one pose, or one for each step.`);
    body.poses = poses;
    if (!scene.meshes[body.mesh]) throw new Error(`Body "${body.name}" names no mesh.`);
  }
  return scene;
}

// ------------------------------------------------------------------------------------- document

const byId = (id) => document.getElementById(id);

/// A new element with properties; children are elements or texts.
function make(tag, properties, ...children) {
  const element = document.createElement(tag);
  const {data, ...plain} = properties || {};
  Object.assign(element, plain);
  Object.assign(element.dataset, data);
  element.append(...children);
  return element;
}

function format(value) {
  return value === 0 || Math.abs(value) >= 1e-4 && Math.abs(value) < 1e7
    ? String(Number(value.toPrecision(6)))
    : value.toExponential(3);
}

// Below 1e-9 is what rounding leaves of a zero.
const formatPoint = (point) => point.map((x) => format(Math.abs(x) < 1e-9 ? 0 : x)).join(', ');

function stepText(scene, position) {
  const step = scene.steps[Math.round(position)];
  const parts = [`Step ${Math.round(position) + 1} of ${scene.steps.length}`];
  if (step.label) parts.push(step.label);
  if (typeof step.time === 'number') parts.push(`${format(timeAt(scene, position))} ${scene.timeUnit || ''}`.trim());
  if (step.line) parts.push(step.line);
  return parts.join(' \u00b7 ');
}

/// Value of the steps' time between two steps.
function timeAt(scene, position) {
  const low = Math.min(Math.floor(position), scene.steps.length - 1);
  const high = Math.min(low + 1, scene.steps.length - 1);
  const from = scene.steps[low].time;
  return from + (position - low) * (scene.steps[high].time - from);
}

/// The position at which the steps' time has a value.
function positionAt(scene, time) {
  let low = 0, high = scene.steps.length - 1;
  while (high - low > 1) {
    const middle = (low + high) >> 1;
    if (scene.steps[middle].time <= time) low = middle;
    else high = middle;
  }
  const from = scene.steps[low].time, to = scene.steps[high].time;
  return low + (to > from ? Math.min(1, Math.max(0, (time - from) / (to - from))) : high - low);
}

function showHeader(scene) {
  document.title = scene.title;
  byId('title').textContent = scene.title;
  const signs = {clear: '\u2713', hit: '\u2715', warning: '!', undecided: '?'};
  byId('verdict').textContent = `${signs[scene.verdict.status] || ''} ${scene.verdict.text}`;
  byId('verdict').dataset.status = scene.verdict.status;
}

function showSummary(scene) {
  const rows = byId('summary').querySelector('tbody');
  for (const [name, value] of scene.summary || [])
    rows.append(make('tr', null, make('th', {scope: 'row'}, name), make('td', null, value)));
  byId('summary').hidden = !rows.childElementCount;
}

/// The list of marks; `choose(i)` is called on a click.
function showMarks(scene, choose) {
  const section = byId('marks'), marks = scene.marks || [];
  section.hidden = !marks.length;
  section.querySelector('.count').textContent = String(marks.length);
  const buttons = marks.map((mark, index) => {
    const where = [];
    if (scene.steps.length > 1) where.push(stepText(scene, mark.step));
    if ((mark.bodies || []).length) where.push(mark.bodies.map((b) => scene.bodies[b].name).join(' / '));
    where.push(`at ${formatPoint(mark.point)} ${scene.unit}`);
    return make('button', {type: 'button', data: {kind: mark.kind}, onclick: () => choose(index)},
                mark.text, make('small', null, where.join(' \u00b7 ')));
  });
  section.querySelector('ol').append(...buttons.map((button) => make('li', null, button)));
  return (index) => buttons.forEach((button, i) => {
    button.setAttribute('aria-current', String(i === index));
    if (i === index) button.scrollIntoView({block: 'nearest'});
  });
}

/// The list of bodies by group; `change(i, visible, opacity)` is called when one is changed.
function showBodies(scene, change) {
  const list = byId('bodies').querySelector('.list');
  byId('bodies').querySelector('.count').textContent = String(scene.bodies.length);
  const groups = new Map();
  scene.bodies.forEach((body, index) => {
    const name = body.group || '';
    if (!groups.has(name)) groups.set(name, []);
    groups.get(name).push(bodyRow(body, index, change));
  });
  for (const [name, rows] of groups) {
    const all = make('input', {type: 'checkbox', checked: true});
    all.onchange = () => rows.forEach((row) => row.show(all.checked));
    if (name) list.append(make('p', {className: 'group'}, make('label', null, all, name)));
    list.append(...rows.map((row) => row.element));
  }
}

function bodyRow(body, index, change) {
  const visible = make('input', {type: 'checkbox', checked: true});
  const opacity = make('input', {type: 'range', min: 0.05, max: 1, step: 0.05, value: body.opacity,
                                 title: 'Opacity'});
  opacity.setAttribute('aria-label', `Opacity of ${body.name}`);
  const swatch = make('span', {className: 'swatch'});
  swatch.style.backgroundColor = body.color;
  const tell = () => change(index, visible.checked, Number(opacity.value));
  visible.onchange = opacity.oninput = tell;
  const name = make('span', {className: 'name'}, body.name);
  return {
    element: make('div', {className: 'body'}, make('label', null, visible, swatch, name), opacity),
    show(on) { visible.checked = on; tell(); },
  };
}

// ----------------------------------------------------------------------------------------- plot

function svg(tag, attributes) {
  const element = document.createElementNS('http://www.w3.org/2000/svg', tag);
  for (const name in attributes) element.setAttribute(name, attributes[name]);
  return element;
}

/// Round numbers between low and high, about `count`.
function ticks(low, high, count) {
  const rough = (high - low) / count, power = Math.pow(10, Math.floor(Math.log10(rough)));
  const step = power * [1, 2, 5, 10].find((factor) => factor * power >= rough);
  const values = [];
  for (let k = Math.ceil(low / step); k * step <= high * (1 + 1e-9); ++k) values.push(k * step);
  return values;
}

/// Path through the values; of several in one pixel the least and the greatest are kept, so that
/// no dip is lost. A null leaves a gap.
function curve(values, x, y) {
  let path = '', pen = 'M', i = 0;
  while (i < values.length) {
    const column = Math.floor(x(i));
    let least = i, greatest = i, end = i;
    for (; end < values.length && Math.floor(x(end)) === column && values[end] !== null; ++end) {
      if (values[end] < values[least]) least = end;
      if (values[end] > values[greatest]) greatest = end;
    }
    const keep = end - i > 2 ? [i, Math.min(least, greatest), Math.max(least, greatest), end - 1] : null;
    for (const k of keep || Array.from({length: end - i}, (_, n) => i + n)) {
      path += `${pen}${x(k).toFixed(1)} ${y(values[k]).toFixed(1)}`;
      pen = 'L';
    }
    if (end < values.length && values[end] === null) { pen = 'M'; ++end; }
    i = end;
  }
  return path;
}

/// The plot over the steps. `go(position)` is called where it is clicked or dragged.
/// @return function that moves the cursor to a position
function showPlot(scene, go) {
  const plot = scene.plot, figure = byId('plot'), last = scene.steps.length - 1;
  figure.hidden = !plot || last < 1;
  if (figure.hidden) return () => {};
  const limited = typeof plot.limit === 'number';
  figure.querySelector('figcaption').textContent = `${plot.label} [${plot.unit}]` +
    (limited ? `, limit ${format(plot.limit)}` : '');
  const margin = {left: 52, right: 8, top: 6, bottom: 6}, height = 110;
  const known = plot.values.filter((value) => value !== null).concat(limited ? [plot.limit] : []);
  const low = known.reduce((a, b) => Math.min(a, b), 0);
  const high = known.reduce((a, b) => Math.max(a, b), low + 1e-9);
  const cursor = svg('line', {class: 'cursor', y1: margin.top, y2: height - margin.bottom});
  const drawing = svg('svg', {role: 'img', 'aria-label': plot.label});
  let x, position = 0;

  function draw() {
    const width = Math.max(figure.clientWidth, 120);
    x = (step) => margin.left + step / last * (width - margin.left - margin.right);
    const y = (v) => margin.top + (high - v) / (high - low) * (height - margin.top - margin.bottom);
    drawing.setAttribute('viewBox', `0 0 ${width} ${height}`);
    drawing.replaceChildren(svg('rect', {class: 'frame', x: x(0), y: margin.top, width: x(last) - x(0),
                                         height: height - margin.top - margin.bottom}));
    for (const value of ticks(low, high, 3)) {
      drawing.append(svg('line', {class: 'frame', x1: x(0), x2: x(last), y1: y(value), y2: y(value)}));
      const text = svg('text', {x: x(0) - 6, y: y(value) + 3, 'text-anchor': 'end'});
      text.textContent = format(value);
      drawing.append(text);
    }
    for (const mark of scene.marks || [])
      drawing.append(svg('line', {class: 'mark', 'data-kind': mark.kind, x1: x(mark.step), x2: x(mark.step),
                                  y1: height - margin.bottom - 10, y2: height - margin.bottom}));
    if (limited)
      drawing.append(svg('line', {class: 'limit', x1: x(0), x2: x(last), y1: y(plot.limit), y2: y(plot.limit)}));
    drawing.append(svg('path', {class: 'curve', d: curve(plot.values, x, y)}), cursor);
    moveCursor(position);
  }
  function moveCursor(to) {
    position = to;
    cursor.setAttribute('x1', x(to));
    cursor.setAttribute('x2', x(to));
  }
  function pick(event) {
    const along = event.clientX - drawing.getBoundingClientRect().left;
    go(Math.min(last, Math.max(0, (along - x(0)) / (x(last) - x(0)) * last)));
  }
  drawing.onpointerdown = (event) => { drawing.setPointerCapture(event.pointerId); pick(event); };
  drawing.onpointermove = (event) => { if (event.buttons & 1) pick(event); };
  figure.append(drawing);
  new ResizeObserver(draw).observe(figure);
  draw();
  return moveCursor;
}

// ------------------------------------------------------------------------------------------- 3D

/// Pose of a body between two steps: its pivot goes straight, its rotation takes the shortest way.
function poseAt(body, position, out) {
  const whole = Math.floor(position), part = position - whole;
  readPose(body, whole, out);
  if (part === 0 || body.poses.length === 12) return out;
  const next = readPose(body, whole + 1, new THREE.Matrix4());
  const pivot = new THREE.Vector3().fromArray(body.pivot);
  const from = pivot.clone().applyMatrix4(out), to = pivot.clone().applyMatrix4(next);
  const turn = new THREE.Quaternion().setFromRotationMatrix(out)
                 .slerp(new THREE.Quaternion().setFromRotationMatrix(next), part);
  const origin = from.lerp(to, part).sub(pivot.applyQuaternion(turn));
  return out.makeRotationFromQuaternion(turn).setPosition(origin);
}

function readPose(body, step, out) {
  const p = body.poses, k = p.length === 12 ? 0 : 12 * step;
  return out.set(p[k], p[k + 1], p[k + 2], p[k + 3], p[k + 4], p[k + 5], p[k + 6], p[k + 7],
                 p[k + 8], p[k + 9], p[k + 10], p[k + 11], 0, 0, 0, 1);
}

function makeGeometry(mesh) {
  const geometry = new THREE.BufferGeometry();
  geometry.setAttribute('position', new THREE.BufferAttribute(floats(mesh.vertices), 3));
  geometry.setIndex(new THREE.BufferAttribute(integers(mesh.indices), 1));
  geometry.computeBoundingBox();
  geometry.computeBoundingSphere();
  return geometry;
}

/// Bodies, marks and segments as objects of three.js, moved by setPosition.
function makeWorld(scene) {
  const geometries = scene.meshes.map(makeGeometry);
  const outlines = geometries.map((geometry) =>
    geometry.index.count <= 3 * kOutlineLimit ? new THREE.EdgesGeometry(geometry, 25) : null);
  const root = new THREE.Scene();
  const bodies = scene.bodies.map((body) => {
    const material = new THREE.MeshStandardMaterial({color: body.color, flatShading: true, roughness: 0.75,
      metalness: 0.05, side: THREE.DoubleSide, polygonOffset: true, polygonOffsetFactor: 1,
      polygonOffsetUnits: 1});
    const object = new THREE.Mesh(geometries[body.mesh], material);
    object.matrixAutoUpdate = false;
    if (outlines[body.mesh])
      object.add(new THREE.LineSegments(outlines[body.mesh],
        new THREE.LineBasicMaterial({color: new THREE.Color(body.color).multiplyScalar(0.35), transparent: true})));
    root.add(object);
    return object;
  });
  scene.bodies.forEach((body, index) => setOpacity(bodies[index], body.opacity));
  addSegments(scene, root, bodies);
  const marks = makeMarks(scene, root);
  return {root, bodies, marks, setPosition(position) {
    scene.bodies.forEach((body, index) => poseAt(body, position, bodies[index].matrix));
    root.updateMatrixWorld(true);
    marks.attach(bodies);
  }};
}

function setOpacity(object, opacity) {
  const material = object.material;
  material.opacity = opacity;
  material.transparent = opacity < 1;
  material.depthWrite = opacity === 1;
  material.needsUpdate = true;
  object.renderOrder = opacity < 1 ? 1 : 0;
  for (const outline of object.children) if (outline.isLineSegments) outline.material.opacity = opacity;
}

function colorOf(kind) {
  return new THREE.Color(getComputedStyle(document.documentElement).getPropertyValue('--' + kind).trim());
}

function addSegments(scene, root, bodies) {
  for (const segment of scene.segments || []) {
    const geometry = new THREE.BufferGeometry();
    geometry.setAttribute('position', new THREE.BufferAttribute(floats(segment.lines), 3));
    const lines = new THREE.LineSegments(geometry,
      new THREE.LineBasicMaterial({color: colorOf(segment.kind), depthTest: false, transparent: true}));
    lines.renderOrder = 8;
    (typeof segment.body === 'number' ? bodies[segment.body] : root).add(lines);
  }
}

/// Marks as balls of constant size on the screen, drawn over the bodies. A mark that is attached to
/// a body goes with it.
function makeMarks(scene, root) {
  const marks = scene.marks, points = marks.map((mark) => new THREE.Vector3().fromArray(mark.point));
  const local = marks.map((mark, i) => typeof mark.attach === 'number'
    ? points[i].clone().applyMatrix4(new THREE.Matrix4().getInverse(
        poseAt(scene.bodies[mark.attach], mark.step, new THREE.Matrix4())))
    : null);
  const colors = {};
  for (const kind of kKinds) colors[kind] = colorOf(kind).toArray();
  const geometry = new THREE.BufferGeometry();
  const add = (name, size, values) =>
    geometry.setAttribute(name, new THREE.BufferAttribute(new Float32Array(values), size));
  add('position', 3, [].concat(...marks.map((mark) => mark.point)));
  add('color', 3, [].concat(...marks.map((mark) => colors[mark.kind])));
  add('selected', 1, marks.map(() => 0));
  const balls = new THREE.Points(geometry, ballMaterial());
  balls.frustumCulled = false;
  balls.renderOrder = 9;
  if (marks.length) root.add(balls);
  const chosen = makeChosen(root);
  let selected = -1;
  return {
    points,
    attach(bodies) {
      const positions = geometry.attributes.position;
      marks.forEach((mark, i) => {
        if (!local[i]) return;
        points[i].copy(local[i]).applyMatrix4(bodies[mark.attach].matrixWorld);
        positions.setXYZ(i, points[i].x, points[i].y, points[i].z);
      });
      positions.needsUpdate = true;
    },
    select(index) {
      selected = index;
      marks.forEach((_, i) => geometry.attributes.selected.setX(i, Number(i === index)));
      geometry.attributes.selected.needsUpdate = true;
    },
    /// @param pixel  length of a pixel of the screen at a point
    drawChosen(pixel) { chosen(marks[selected], points[selected], pixel); },
  };
}

function ballMaterial() {
  return new THREE.ShaderMaterial({
    depthTest: false, transparent: true,
    uniforms: {diameter: {value: 2 * kMarkPixels * window.devicePixelRatio}},
    vertexShader: `
      attribute vec3 color;
      attribute float selected;
      uniform float diameter;
      varying vec3 tint;
      void main() {
        tint = color;
        gl_Position = projectionMatrix * modelViewMatrix * vec4(position, 1.0);
        gl_PointSize = diameter * (1.0 + 0.4 * selected);
      }`,
    fragmentShader: `
      varying vec3 tint;
      void main() {
        vec2 p = 2.0 * gl_PointCoord - 1.0;
        float r = dot(p, p);
        if (r > 1.0) discard;
        gl_FragColor = vec4(r > 0.72 ? vec3(1.0) : tint, 1.0);
      }`,
  });
}

/// The chosen mark's normal as an arrow, and a line to its second point.
function makeChosen(root) {
  const arrow = new THREE.ArrowHelper(new THREE.Vector3(0, 0, 1), new THREE.Vector3(), 1);
  const line = new THREE.Line(new THREE.BufferGeometry(), new THREE.LineBasicMaterial());
  const parts = [arrow.line, arrow.cone, line];
  line.frustumCulled = false;
  for (const part of parts) {
    part.material.depthTest = false;
    part.material.transparent = true;
    part.renderOrder = 10;
  }
  root.add(arrow, line);
  return (mark, point, pixel) => {
    arrow.visible = Boolean(mark && mark.normal);
    line.visible = Boolean(mark && mark.point2);
    if (!mark) return;
    const color = colorOf(mark.kind), unit = pixel(point);
    for (const part of parts) part.material.color = color;
    if (arrow.visible) {
      arrow.position.copy(point);
      arrow.setDirection(new THREE.Vector3().fromArray(mark.normal).normalize());
      arrow.setLength(70 * unit, 18 * unit, 10 * unit);
    }
    if (line.visible)
      line.geometry.setFromPoints([point, new THREE.Vector3().fromArray(mark.point2)]);
  };
}

/// Camera, controls and drawing on request.
function makeView(scene, world) {
  const stage = byId('stage');
  const renderer = new THREE.WebGLRenderer({antialias: true, alpha: true});
  const camera = new THREE.PerspectiveCamera(30, 1, 0.1, 10);
  camera.up.set(0, 0, 1);
  stage.append(renderer.domElement);
  renderer.setPixelRatio(window.devicePixelRatio);
  const controls = new THREE.OrbitControls(camera, renderer.domElement);
  const lamp = new THREE.DirectionalLight(0xffffff, 0.6);
  lamp.position.set(0.4, 0.8, 1);
  camera.add(lamp, lamp.target);
  world.root.add(camera, new THREE.HemisphereLight(0xffffff, 0xa8adb5, 0.8));
  const everything = boundsOverSteps(scene, world);
  const state = {pending: false, flight: null};
  const halfHeight = Math.tan(camera.fov * Math.PI / 360);

  function request() {
    if (state.pending) return;
    state.pending = true;
    requestAnimationFrame(draw);
  }
  function draw(now) {
    state.pending = false;
    if (state.flight) advanceFlight(now);
    const eye = camera.position, range = eye.distanceTo(controls.target);
    const centre = eye.distanceTo(everything.center), radius = everything.radius * 1.05;
    camera.near = Math.max(centre - radius, Math.min(0.02 * range, radius));
    camera.far = centre + radius + range;
    camera.updateProjectionMatrix();
    camera.updateMatrixWorld();
    const forward = camera.getWorldDirection(new THREE.Vector3());
    const atUnit = 2 * halfHeight / renderer.domElement.clientHeight;
    world.marks.drawChosen((p) => atUnit * Math.max(p.clone().sub(eye).dot(forward), camera.near));
    renderer.render(world.root, camera);
  }
  function resize() {
    renderer.setSize(stage.clientWidth, stage.clientHeight);
    camera.aspect = stage.clientWidth / Math.max(stage.clientHeight, 1);
    request();
  }
  function advanceFlight(now) {
    const {fromEye, fromTarget, eye, target} = state.flight;
    state.flight.start = state.flight.start || now;
    const t = Math.min(1, (now - state.flight.start) / state.flight.length);
    const eased = t * t * (3 - 2 * t);
    controls.target.lerpVectors(fromTarget, target, eased);
    camera.position.lerpVectors(fromEye, eye, eased);
    if (t === 1) state.flight = null;
    controls.update();
    request();
  }
  /// Flies to where `target` is looked at along `direction` (from target to eye) from `range` away.
  function fly(target, direction, range) {
    const calm = window.matchMedia('(prefers-reduced-motion: reduce)').matches;
    state.flight = {fromEye: camera.position.clone(), fromTarget: controls.target.clone(),
                    target: target.clone(), eye: target.clone().addScaledVector(direction, range),
                    length: calm ? 1 : kFlight};
    request();
  }
  /// Shows the whole box, from a direction or the present one.
  function fit(direction = currentDirection()) {
    const side = new THREE.Vector3().crossVectors(camera.up, direction).normalize();
    const above = new THREE.Vector3().crossVectors(direction, side);
    let range = 0;
    for (const corner of everything.corners) {
      const p = corner.clone().sub(everything.center);
      const across = Math.max(Math.abs(p.dot(side)) / camera.aspect, Math.abs(p.dot(above)));
      range = Math.max(range, p.dot(direction) + 1.08 * across / halfHeight);
    }
    fly(everything.center, direction, range);
  }
  const currentDirection = () => camera.position.clone().sub(controls.target).normalize();

  camera.position.set(1, -1.6, 1.1).normalize().multiplyScalar(everything.radius * 4).add(everything.center);
  controls.target.copy(everything.center);
  controls.addEventListener('change', request);
  renderer.domElement.addEventListener('pointerdown', () => { state.flight = null; });
  new ResizeObserver(resize).observe(stage);
  resize();
  controls.update();
  fit();
  return {request, fit, select(index) {
    world.marks.select(index);
    const mark = scene.marks[index];
    const sizes = (mark.bodies || []).map((b) => world.bodies[b].geometry.boundingSphere.radius);
    const range = 5 * Math.min(everything.radius, ...sizes);
    fly(world.marks.points[index], currentDirection(), range);
  }};
}

/// What the bodies fill at all steps (some hundred of them where there are many), with the marks:
/// centre, radius and corners of the box.
function boundsOverSteps(scene, world) {
  const box = new THREE.Box3(), matrix = new THREE.Matrix4();
  const stride = Math.max(1, Math.floor(scene.steps.length / 300));
  scene.bodies.forEach((body, index) => {
    const rest = world.bodies[index].geometry.boundingBox;
    for (let step = 0; step < scene.steps.length; step += body.poses.length === 12 ? Infinity : stride)
      box.union(rest.clone().applyMatrix4(readPose(body, step, matrix)));
  });
  world.marks.points.forEach((point) => box.expandByPoint(point));
  if (box.isEmpty()) box.set(new THREE.Vector3(-1, -1, -1), new THREE.Vector3(1, 1, 1));
  const corners = [];
  for (let i = 0; i < 8; ++i)
    corners.push(new THREE.Vector3((i & 1 ? box.max : box.min).x, (i & 2 ? box.max : box.min).y,
                                   (i & 4 ? box.max : box.min).z));
  const center = box.getCenter(new THREE.Vector3());
  return {center, corners, radius: Math.max(center.distanceTo(corners[0]), 1e-6)};
}

// ------------------------------------------------------------------------------------- the page

/// The 3D part, or null with a message on the page where there is no WebGL.
function openView(scene) {
  try {
    const world = makeWorld(scene);
    const view = makeView(scene, world);
    return {world, view};
  } catch (error) {
    byId('views').hidden = true;
    notify(`The 3D view needs WebGL, which this browser does not offer (${error.message}). ` +
           'The lists and the plot are complete.');
    return null;
  }
}

function notify(text) {
  byId('notice').textContent = text;
  byId('notice').hidden = false;
}

function fillDefaults(scene) {
  scene.unit = scene.unit || '';
  scene.marks = scene.marks || [];
  scene.bodies.forEach((body, index) => {
    body.color = /^#[0-9a-f]{6}$/i.test(body.color) ? body.color : kPalette[index % kPalette.length];
    body.opacity = typeof body.opacity === 'number' ? Math.min(1, Math.max(0.05, body.opacity)) : 1;
    body.pivot = body.pivot || [0, 0, 0];
  });
}

/// Play button: along the times of the steps where they rise, else at an even rate; the whole
/// takes 4 to 60 seconds.
function makePlayer(scene, position, go) {
  const last = scene.steps.length - 1, first = scene.steps[0].time, end = scene.steps[last].time;
  const timed = typeof first === 'number' && end > first;
  const duration = 1000 * Math.min(60, Math.max(4, last * 0.1));
  const fraction = (p) => timed ? (timeAt(scene, p) - first) / (end - first) : p / last;
  const whereAt = (f) => timed ? positionAt(scene, first + f * (end - first)) : f * last;
  let from = null;
  function tick(now) {
    if (!from) return;
    from.time = from.time || now;
    const f = Math.min(1, from.fraction + (now - from.time) / duration);
    go(whereAt(f));
    if (f === 1) return stop();
    requestAnimationFrame(tick);
  }
  function stop() {
    from = null;
    byId('play').textContent = 'Play';
  }
  function toggle() {
    if (from) return stop();
    from = {fraction: position() >= last ? 0 : fraction(position()), time: 0};
    byId('play').textContent = 'Pause';
    requestAnimationFrame(tick);
  }
  return {toggle, stop};
}

function openPage() {
  const scene = readScene();
  fillDefaults(scene);
  const last = scene.steps.length - 1, slider = byId('slider');
  let position = 0;
  showHeader(scene);
  showSummary(scene);
  const moveCursor = showPlot(scene, (to) => { player.stop(); go(to); });
  const showMark = (index) => {
    player.stop();
    choose(index);
    go(scene.marks[index].step);
    if (shown) shown.view.select(index);
  };
  const choose = showMarks(scene, showMark);
  showBodies(scene, (index, visible, opacity) => {
    if (!shown) return;
    shown.world.bodies[index].visible = visible;
    setOpacity(shown.world.bodies[index], opacity);
    shown.view.request();
  });
  const shown = openView(scene);

  function go(to) {
    position = Math.min(last, Math.max(0, to));
    slider.value = position;
    byId('position').textContent = stepText(scene, position);
    moveCursor(position);
    if (!shown) return;
    shown.world.setPosition(position);
    shown.view.request();
  }
  const player = makePlayer(scene, () => position, go);
  const hop = (by) => { player.stop(); go(by > 0 ? Math.floor(position) + 1 : Math.ceil(position) - 1); };

  slider.max = last;
  byId('transport').hidden = slider.hidden = last < 1;
  document.querySelector('footer').hidden = last < 1;
  slider.oninput = () => { player.stop(); go(Number(slider.value)); };
  byId('play').onclick = player.toggle;
  byId('previous').onclick = () => hop(-1);
  byId('next').onclick = () => hop(1);
  bindKeys(last, player, hop, shown);
  bindViews(shown);
  const hit = scene.marks.find((mark) => mark.kind === 'hit');
  go(hit ? hit.step : 0);
  // report.html#2 is a link to the second mark.
  const named = Number(location.hash.slice(1)) - 1;
  if (scene.marks[named]) showMark(named);
}

function bindKeys(last, player, hop, shown) {
  document.addEventListener('keydown', (event) => {
    if (event.ctrlKey || event.altKey || event.metaKey) return;
    if (event.target.closest('input:not(#slider), summary')) return;
    if (event.key === ' ' && event.target.closest('button')) return;
    if (event.key === 'ArrowLeft') hop(-1);
    else if (event.key === 'ArrowRight') hop(1);
    else if (event.key === ' ' && last > 0) player.toggle();
    else if (event.key === 'f' && shown) shown.view.fit();
    else return;
    event.preventDefault();
  });
}

function bindViews(shown) {
  if (!shown) return;
  // A little off the axis: straight down, the direction that is up on the screen would be undefined.
  const directions = {corner: [1, -1.6, 1.1], top: [0, -1e-3, 1], front: [0, -1, 0], right: [1, 0, 0]};
  for (const button of document.querySelectorAll('[data-view]')) {
    const direction = directions[button.dataset.view];
    button.onclick = () => shown.view.fit(direction && new THREE.Vector3().fromArray(direction).normalize());
  }
}

try {
  openPage();
} catch (error) {
  notify(`This page cannot be shown: ${error.message}`);
}
