// The view Sign-in: those that wait for their user, who can agree to them here.
import { make, onceAFrame, put } from './dom.js';
import { clock } from './format.js';

export class SignInView {
  #isShown = false;

  /** @param {HTMLElement} element @param {import('./model.js').Model} model */
  constructor(element, model) {
    this.model = model;
    this.list = make('ul.sign-ins', { 'aria-label': 'Sign-ins' });
    this.empty = make('p.empty', {}, 'No sign-in was started.');
    put(element, [
      make('div.page', {}, [
        make('h2', {}, 'Sign-ins to Twitter'),
        make('p', {}, [
          'An application that signs a user in gets a URL of api.twitter.com for the browser. A browser that does not ',
          'use the proxy cannot open it. The link below leads to the same page, on this computer.',
        ]),
        this.empty,
        this.list,
      ]),
    ]);
    this.update = onceAFrame(() => this.#update());
    model.addEventListener('objects', this.update);
  }

  #all() {
    return [...this.model.objects.values()].filter(({ kind }) => kind === 'signIn').sort((a, b) => b.first - a.first);
  }

  /** @returns {number} of those that are pending */
  count() {
    return this.#all().filter(({ deleted }) => !deleted).length;
  }

  setShown(isShown) {
    this.#isShown = isShown;
    if (isShown) this.update();
  }

  #update() {
    if (!this.#isShown) return;
    const all = this.#all();
    const focused = document.activeElement?.dataset?.key;
    this.empty.hidden = all.length > 0;
    put(this.list, all.slice(0, 200).map(signIn));
    if (focused) this.list.querySelector(`[data-key="${CSS.escape(focused)}"]`)?.focus();
  }
}

function stateOf({ deleted, members }) {
  if (deleted) return 'completed: the application has its access token';
  return members.agreed ? 'the user has agreed; the application has to go on' : 'waits for the user';
}

function signIn(object) {
  const { id, members, deleted, history } = object;
  const isOnce = members.agreed || deleted;
  return make(`li.panel${deleted ? '.used' : ''}`, { 'data-service': 'twitter' }, [
    make('p', {}, make('time', {}, clock(history[0].time)), ' ', make('b', {}, stateOf(object))),
    make('p.small', {}, 'Token ', make('code', {}, id)),
    members.callback
      ? make('p.small', {}, 'Returns to ', make('code', {}, members.callback))
      : make('p.small', {}, isOnce ? ['PIN ', make('code.pin', {}, members.pin)] : 'The page will show a PIN.'),
    !deleted &&
      make('p.actions', {}, [
        make(
          'a.button',
          { href: members.authorize, target: '_blank', rel: 'noopener', 'data-key': id },
          "Open Twitter's page",
        ),
      ]),
  ]);
}
