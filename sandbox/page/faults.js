// The view Faults: buttons for the next request to a service, and the list of scripts.
import { call, get } from './api.js';
import { make, onceAFrame, put, toast } from './dom.js';
import { kServices } from './model.js';
import { effectOf, presetsOf, requestsOf } from './presets.js';

export class FaultsView {
  #isShown = false;

  /** @param {HTMLElement} element @param {import('./model.js').Model} model */
  constructor(element, model) {
    this.model = model;
    this.list = make('ul.scripts', { 'aria-label': 'Scripts' });
    this.empty = make('p.empty', {}, 'No script is prepared: the services reply as usual.');
    this.removeAll = make('button', { type: 'button', onclick: () => this.#removeAll() }, 'Remove all');
    put(element, [
      make('div.page', {}, [
        make('h2', {}, 'Prepare a fault for the next request to'),
        make('p.small', {}, 'A slow network, and media still processing, last until they are removed.'),
        make('div.services', {}, Object.entries(kServices).map(([key, name]) => this.#buttons(key, name))),
        make('div.title', {}, make('h2', {}, 'Scripts'), this.removeAll),
        this.empty,
        this.list,
        ownScript(),
      ]),
    ]);
    this.update = onceAFrame(() => this.#update());
    for (const part of ['scripts', 'switches']) model.addEventListener(part, this.update);
    // A service counts a switch down without an event.
    model.addEventListener('exchanges', onceAFrame(() => this.#fetchSwitches()));
  }

  /** @returns {number} of scripts and switches that are not used up */
  count() {
    const scripts = [...this.model.scripts.values()].filter((report) => !isUsedUp(report));
    return scripts.length + this.#switches().length;
  }

  #buttons(service, title) {
    const buttons = presetsOf(service).map((preset) =>
      make('button', { type: 'button', onclick: () => this.#prepare(preset, service) }, preset.name),
    );
    const id = `faults-${service}`;
    return make('section.panel', { 'data-service': service, 'aria-labelledby': id }, [
      make('h3', { id }, make('span.dot', { 'aria-hidden': 'true' }), title),
      make('div.buttons', {}, buttons),
    ]);
  }

  #prepare({ name, script, switches }, service) {
    const host = this.model.about.services[service]?.join(', ');
    const requests = script && script.times !== 0 ? 'the next request' : 'all requests';
    return report(
      script ? call('POST', '/scripts', { host, ...script }) : call('POST', '/switches', switches),
      `${name}: prepared for ${requests} to ${kServices[service]}.`,
    );
  }

  setShown(isShown) {
    this.#isShown = isShown;
    if (isShown) this.update();
  }

  #switches() {
    return Object.entries(this.model.switches).flatMap(([service, values]) =>
      Object.entries(values)
        .filter(([, value]) => value !== null)
        .map(([name, value]) => ({ service, name, value })),
    );
  }

  async #fetchSwitches() {
    if (!this.#isShown || !this.#switches().length) return;
    const switches = await get('/switches').catch(() => this.model.switches);
    if (JSON.stringify(switches) !== JSON.stringify(this.model.switches)) this.model.setSwitches(switches);
  }

  #update() {
    if (!this.#isShown) return;
    const focused = this.list.contains(document.activeElement) ? document.activeElement.dataset.key : undefined;
    const index = [...this.list.children].findIndex((row) => row.contains(document.activeElement));
    const scripts = [...this.model.scripts.values()].map((state) => scriptRow(state, this.model.about.services));
    const switches = this.#switches().map(switchRow);
    this.empty.hidden = scripts.length + switches.length > 0;
    put(this.list, [...scripts, ...switches]);
    // Whoever removes several by keyboard goes on where they were.
    if (!focused) return;
    const same = this.list.querySelector(`[data-key="${CSS.escape(focused)}"]`);
    const next = this.list.children[Math.min(index, this.list.children.length - 1)]?.querySelector('button');
    (same ?? next ?? this.removeAll).focus();
  }

  async #removeAll() {
    const gone = [...this.model.scripts.keys()].map((id) => call('DELETE', `/scripts/${id}`));
    for (const { service, name } of this.#switches()) gone.push(endSwitch(service, name));
    await report(Promise.all(gone), 'All scripts were removed.');
  }
}

const report = (promise, words) =>
  promise.then(
    () => toast(words),
    (error) => toast(error.message),
  );

const isUsedUp = ({ matched, script }) => (script.times ?? 1) !== 0 && matched >= (script.times ?? 1);

function scriptRow(state, services) {
  const { id, matched, fireCounts, script } = state;
  const fired = Object.entries(fireCounts).map(([fault, count]) => `${fault} ${count}×`);
  const counts = [`matched ${matched}×`, ...fired].join(', ');
  return make(`li.script${isUsedUp(state) ? '.used' : ''}`, {}, [
    make('code', {}, `#${id}`),
    make('span.what', {}, make('b', {}, requestsOf(script, services)), ` ${effectOf(script)}`),
    make('span.counts', {}, isUsedUp(state) ? `${counts} · used up` : counts),
    removeButton(`script-${id}`, `Remove script ${id}`, () => call('DELETE', `/scripts/${id}`)),
  ]);
}

function switchRow({ service, name, value }) {
  return make('li.script', {}, [
    make('code', {}, 'switch'),
    make('span.what', {}, make('b', {}, `${service}.${name}`), ` is ${value}`),
    make('span.counts', {}, 'until it is removed'),
    removeButton(`switch-${service}-${name}`, `Remove ${service}.${name}`, () => endSwitch(service, name)),
  ]);
}

const endSwitch = (service, name) => call('POST', '/switches', { [service]: { [name]: null } });

function removeButton(key, label, remove) {
  const onclick = () => report(remove(), 'Removed.');
  return make('button', { type: 'button', 'data-key': key, 'aria-label': label, onclick }, 'Remove');
}

// For everything that no button prepares.
function ownScript() {
  const text = make('textarea', {
    id: 'own-script',
    rows: 4,
    spellcheck: 'false',
    placeholder: '{"path": "/me/feed", "passThrough": true, "delayMs": 2000}',
  });
  const add = async (event) => {
    event.preventDefault();
    let script;
    try {
      script = JSON.parse(text.value || text.placeholder);
    } catch (error) {
      return toast(`This is not JSON: ${error.message}`);
    }
    await report(call('POST', '/scripts', script), 'The script was added.');
  };
  return make('details.own', {}, [
    make('summary', {}, 'A script of your own'),
    make('form', { onsubmit: add }, [
      make('label', { for: 'own-script' }, 'A script in JSON, as docs/sandbox.md describes it'),
      text,
      make('p.actions', {}, make('button', { type: 'submit' }, 'Add')),
    ]),
  ]);
}
