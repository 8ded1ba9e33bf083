// What the page knows of the sandbox. Views read it, and are notified when a part of it changes.

/** The names of the services, in the order in which they are shown. */
export const kServices = { facebook: 'Facebook', twitter: 'Twitter', youtube: 'YouTube' };

/** The parts of the model, which are the names of its events. */
export const kParts = ['about', 'exchanges', 'objects', 'scripts', 'switches'];

export class Model extends EventTarget {
  about = { services: {}, journal: 20000, countOnly: false };
  /** @type {Object[]} summaries, in the order of their ids, which have no gaps */
  exchanges = [];
  /** @type {Map<string, Object>} by service, record and id */
  objects = new Map();
  /** @type {Map<number, Object>} by id */
  scripts = new Map();
  switches = {};
  run = ''; // of the sandbox
  #serviceOfHost = new Map();

  /** Notifies the views that a part has changed. */
  changed(part) {
    this.dispatchEvent(new Event(part));
  }

  setAbout(about) {
    this.about = about;
    this.#serviceOfHost.clear();
    for (const [service, hosts] of Object.entries(about.services))
      for (const host of hosts) this.#serviceOfHost.set(host, service);
    this.changed('about');
  }

  /** @param {string} host @returns {string} the key of its service; empty for any other host */
  serviceOf(host) {
    return this.#serviceOfHost.get(host) ?? '';
  }

  /** Takes all exchanges that the sandbox has. */
  setExchanges(list) {
    this.exchanges = list;
    this.changed('exchanges');
  }

  /** Takes a new exchange, or a newer state of one. */
  putExchange(exchange) {
    const first = this.exchanges[0]?.id ?? exchange.id;
    const index = exchange.id - first;
    if (index < 0 || index > this.exchanges.length) return;
    this.exchanges[index] = exchange;
    const surplus = this.exchanges.length - this.about.journal;
    if (surplus > 0) this.exchanges.splice(0, surplus);
    this.changed('exchanges');
  }

  /** @param {number} id @returns {Object|undefined} */
  exchange(id) {
    return this.exchanges[id - (this.exchanges[0]?.id ?? 0)];
  }

  setObjects(list) {
    this.objects = new Map();
    for (const object of list) this.#keep(object);
    this.changed('objects');
  }

  putObject(object) {
    this.#keep(object);
    this.changed('objects');
  }

  // After a reset or a new start of the sandbox, another object can have the same id.
  #keep(object) {
    this.objects.set(keyOf(object), { ...object, incarnation: `${this.run}-${object.first}` });
  }

  setScripts(list) {
    this.scripts = new Map(list.map((script) => [script.id, script]));
    this.changed('scripts');
  }

  putScript(script) {
    if (script.removed) this.scripts.delete(script.id);
    else this.scripts.set(script.id, script);
    this.changed('scripts');
  }

  setSwitches(switches) {
    this.switches = switches;
    this.changed('switches');
  }
}

// Each service has one series of ids, except that of sign-ins and uploads.
const keyOf = (object) => `${object.service}/${object.kind}/${object.id}`;
