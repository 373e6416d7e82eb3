
'use strict';
(() => {
const query = (selector) => document.querySelector(selector);
const data = JSON.parse(query('[type="application/json"]').textContent);
const {nodes} = data;
const MOST_IN_LINE = 40; // words of a line that are shown
const MOST_IN_LINK = 24; // words of a link, as in page_links.h; a longer one has the number of the node
const MOST_IN_TREE = 500; // levels that the tree opens to show a node
const REST = 200; // milliseconds without a key
const BATCH = 50; // elements of a long list that are shown at once

const NAMES = ['function', 'mode', 'name']; // properties that grammars spell

// Ids are the links of commands, so the elements of the page are found by their classes.
const [tree, results, search, status, more, detail] =
  ['.tree', '.results', '.search', '.status', '.more', '.detail'].map(query);

// Creates an element. Every text of the grammar becomes a text node.
function make(tag, attributes = {}, ...content) {
  const element = document.createElement(tag);
  for (const [name, value] of Object.entries(attributes)) element.setAttribute(name, value);
  element.append(...content);
  return element;
}

// ---- The tree: nodes with shared children ----

const childrenOf = (number) => (number < 0 ? data.first : nodes[number].next ?? []);

// The nodes are numbered depth first, so a child was met first below the last of its parents that
// has a lower number.
const parentOf = new Int32Array(nodes.length).fill(-1);
const depthOf = new Uint32Array(nodes.length);
nodes.forEach((node, number) => {
  depthOf[number] = parentOf[number] < 0 ? 1 : depthOf[parentOf[number]] + 1;
  for (const child of childrenOf(number)) if (child > number) parentOf[child] = number;
});

function firstPathTo(number) {
  const path = [];
  for (; number >= 0; number = parentOf[number]) path.push(number);
  return path.reverse();
}

// The parents of all nodes, one node after the other; -1 before first words.
const parentStarts = new Uint32Array(nodes.length + 1);
const forEachLink = (visit) => {
  for (let parent = -1; parent < nodes.length; ++parent) for (const child of childrenOf(parent)) visit(parent, child);
};
forEachLink((_, child) => ++parentStarts[child + 1]);
for (let number = 0; number < nodes.length; ++number) parentStarts[number + 1] += parentStarts[number];
const parents = new Int32Array(parentStarts[nodes.length]);
const filled = parentStarts.slice();
forEachLink((parent, child) => { parents[filled[child]++] = parent; });

const parentsOf = (number) => parents.subarray(parentStarts[number], parentStarts[number + 1]);

// ---- Links: #show/bays. A word that an earlier sibling has, too, and a missing word are counted ----

function linkTo(path) {
  if (path.length > MOST_IN_LINK) return `#:${path.at(-1)}`;
  return '#' + path.map((number, i) => {
    const {word} = nodes[number];
    const same = childrenOf(i === 0 ? -1 : path[i - 1]).filter((other) => nodes[other].word === word);
    const count = same.indexOf(number) + 1;
    const text = encodeURIComponent(word).replaceAll('~', '%7E');
    return word !== '' && count === 1 ? text : `${text}~${count}`;
  }).join('/');
}

// Returns the path of a link without its #; null if there is none.
function pathOf(link) {
  const numbered = /^:(\d+)$/.exec(link);
  if (numbered) return Number(numbered[1]) in nodes ? firstPathTo(Number(numbered[1])) : null;
  const path = [];
  for (const segment of link.split('/')) {
    const parts = /^([^~]*)(?:~(\d+))?$/.exec(segment);
    if (!parts) return null;
    let word;
    try {
      word = decodeURIComponent(parts[1]);
    } catch {
      return null;
    }
    const same = childrenOf(path.at(-1) ?? -1).filter((number) => nodes[number].word === word);
    const number = same[(parts[2] ?? 1) - 1];
    if (number === undefined) return null;
    path.push(number);
  }
  return path;
}

// ---- Words and lines ----

const isCommand = (node) => Boolean(node.ends || node.submode);

function wordOf(number, tag = 'span', attributes = {}) {
  const node = nodes[number];
  const kind = node.word === '' ? ' unnamed' : node.values && node.word[0] === '<' ? ' value' : '';
  const text = node.word === '' ? node.name ?? '' : node.word;
  return make(tag, {...attributes, dir: 'ltr', class: `word${kind}${isCommand(node) ? ' ends' : ''}`},
    text + (node.optional ? '[o]' : ''));
}

const helpOf = (node, tag = 'span') => make(tag, {class: 'help', dir: 'auto'}, node.help ?? '');

// The line of a path as lines are listed, each word made by a function. Nodes without a word add
// nothing to a line, but the last one is shown by its name.
function lineOf(path, word) {
  const first = Math.max(0, path.length - MOST_IN_LINE);
  const content = first > 0 ? ['… '] : [];
  for (let i = first; i < path.length - 1; ++i)
    if (nodes[path[i]].word !== '') content.push(word(path[i], i), nodes[path[i]].submode ? ' / ' : ' ');
  return [...content, word(path.at(-1), path.length - 1)];
}

// A list that shows its first elements and, on demand, more.
function longList(list, values, item) {
  const fill = (from) => {
    list.append(...values.slice(from, from + BATCH).map(item));
    if (values.length <= from + BATCH) return;
    const button = make('button', {type: 'button'}, `${values.length - from - BATCH} more`);
    const last = make('li', {}, button);
    button.addEventListener('click', () => {
      last.remove();
      fill(from + BATCH);
    });
    list.append(last);
  };
  fill(0);
  return list;
}

// ---- One command ----

function valuesOf(node) {
  return (node.values ?? []).map(({is, example}) => is + (example ? `, such as ${example}` : ''));
}

function commandState(node) {
  if (node.ends && node.submode) return 'complete, enters a submode';
  if (node.submode) return 'enters a submode';
  return node.ends ? 'complete' : 'needs more words';
}

function propertiesOf(node, attachPath) {
  const rows = [];
  const add = (label, value, kind = '') =>
    rows.push(make('dt', {}, label), make('dd', {dir: 'auto', class: kind}, value));
  add('Command', commandState(node));
  for (const value of valuesOf(node)) add('Value', value);
  if (node.optional) add('Optional', 'may be left out');
  for (const [key, label] of Object.entries(data.labels))
    if (node[key]) add(label, node[key], NAMES.includes(key) ? 'word' : '');
  if (attachPath) add('Attached below', attachPath, 'word');
  return make('dl', {}, ...rows);
}

function itemOf(number, word) {
  const node = nodes[number];
  const notes = [...valuesOf(node), ...(node.optional ? ['optional'] : [])].join('; ');
  const text = make('span', {}, helpOf(node));
  if (notes) text.append(node.help ? ' – ' : '', notes);
  return make('li', {}, word, ' ', text);
}

const wordsOf = (path) => make('ul', {class: 'columns'},
  ...path.slice(-MOST_IN_LINE).map((number) => itemOf(number, wordOf(number))));

const childList = (path) => longList(make('ul', {class: 'columns'}), childrenOf(path.at(-1) ?? -1),
  (child) => itemOf(child, wordOf(child, 'a', {href: linkTo([...path, child])})));

// Paths to a node through its other parents, one for each.
function otherPlaces(path) {
  const number = path.at(-1);
  return Array.from(parentsOf(number)).filter((parent) => parent !== (path.at(-2) ?? -1))
    .map((parent) => [...(parent < 0 ? [] : firstPathTo(parent)), number]);
}

const lineLink = (path) =>
  make('a', {href: linkTo(path)}, ...lineOf(path, (number) => wordOf(number)));

function showCommand(path) {
  const number = path.at(-1);
  const node = nodes[number];
  const line = lineOf(path, (part, i) =>
    i === path.length - 1 ? wordOf(part) : wordOf(part, 'a', {href: linkTo(path.slice(0, i + 1))}));
  const attachPath = path.length === 1 && data.attach[data.first.indexOf(number)];
  const content = [make('h1', {}, ...line), helpOf(node, 'p'), propertiesOf(node, attachPath)];
  const section = (title, element) => content.push(make('h2', {}, title), element);
  if (path.length > 1) section('Words', wordsOf(path));
  if (node.next) section(node.submode ? 'Commands of this submode' : 'Next words', childList(path));
  const places = otherPlaces(path);
  if (places.length > 0)
    section('Also here', longList(make('ul'), places, (place) => make('li', {}, lineLink(place))));
  detail.replaceChildren(...content);
}

function countsInWords() {
  const words = nodes.length;
  const ends = nodes.filter(isCommand).length;
  const spelled = (count) => count.toLocaleString('en');
  const which = words === 1 ? 'it' : `${spelled(ends)} of them`;
  const complete = ends === 0 ? 'none completes' : `${which} ${ends === 1 ? 'completes' : 'complete'}`;
  return `${spelled(words)} ${words === 1 ? 'word' : 'words'}; ${complete} a command`;
}

function showStart(missing) {
  const print = make('button', {type: 'button'}, 'Print the reference of all commands');
  print.addEventListener('click', () => window.print());
  const content = [make('h1', {}, data.title)];
  if (missing) content.push(make('p', {role: 'alert'}, 'No command has the link ', make('code', {class: 'word'}, missing), '.'));
  content.push(make('p', {class: 'help'}, countsInWords() + (data.mode ? `; mode ${data.mode}` : '') + '.'));
  content.push(make('p', {class: 'quiet'}, make('kbd', {}, '/'), ' searches, arrow keys move in the tree, ',
    make('kbd', {}, 'Enter'), ' opens. ', make('span', {class: 'word'}, '[o]'), ' marks an optional word, ',
    make('span', {class: 'word'}, '/'), ' follows the words that enter a submode.'));
  content.push(print, make('h2', {}, 'First words'), childList([]));
  detail.replaceChildren(...content);
}

let shown = null; // link of the command that is shown

function show() {
  const link = location.hash.slice(1);
  if (link !== shown) showPath(link, link === '' ? [] : pathOf(link));
}

// Without a path, no command has the link.
function showPath(link, path) {
  leaveSteps();
  shown = link;
  if (path?.length) {
    showCommand(path);
    reveal(path);
  } else {
    showStart(path ? '' : link);
    select(null);
  }
  document.title = path?.length
    ? `${path.slice(-MOST_IN_LINE).map((number) => nodes[number].word).join(' ')} – ${data.title}` : data.title;
  detail.scrollTop = 0;
  if (document.activeElement === search || tree.contains(document.activeElement)) return;
  (path?.length || tree.hidden ? detail : entryOfTree() ?? detail).focus();
}

// ---- The view of the tree: a row for each opened path ----

const entryOfTree = () => tree.querySelector('[tabindex="0"]'); // the row that takes the focus

const rowOf = new WeakMap(); // of an element: {element, number, parent, level, children (if open)}
let topRows = [];
let selected = null;

function makeRows(parent) {
  const numbers = childrenOf(parent?.number ?? -1);
  const level = (parent?.level ?? 0) + 1;
  return numbers.map((number, i) => {
    const element = make('li', {role: 'treeitem', 'aria-level': level, 'aria-setsize': numbers.length,
      'aria-posinset': i + 1, 'aria-selected': false, tabindex: -1}, wordOf(number), helpOf(nodes[number]));
    if (nodes[number].next) element.setAttribute('aria-expanded', false);
    element.style.setProperty('--level', level - 1);
    const row = {element, number, parent, level, children: null};
    rowOf.set(element, row);
    return row;
  });
}

function open(row) {
  if (row.children !== null || !nodes[row.number].next) return;
  row.children = makeRows(row);
  row.element.after(...row.children.map(({element}) => element));
  row.element.setAttribute('aria-expanded', true);
}

function close(row) {
  if (row.children === null) return;
  const next = row.element;
  while (next.nextElementSibling && rowOf.get(next.nextElementSibling).level > row.level)
    next.nextElementSibling.remove();
  row.children = null;
  row.element.setAttribute('aria-expanded', false);
}

function select(row) {
  for (const [element, isNew] of [[selected?.element, false], [row?.element, true]])
    element?.setAttribute('aria-selected', isNew);
  entryOfTree()?.setAttribute('tabindex', -1);
  (row ?? topRows[0])?.element.setAttribute('tabindex', 0);
  selected = row;
}

// Selects the row of a path after opening the rows above it.
function reveal(path) {
  if (path.length > MOST_IN_TREE) return select(null);
  let row = null;
  for (const number of path) {
    if (row) open(row);
    row = (row?.children ?? topRows).find((child) => child.number === number);
  }
  if (row !== selected || !row.element.isConnected) select(row);
  row.element.scrollIntoView({block: 'nearest'});
}

function pathOfRow(row) {
  const path = [];
  for (; row; row = row.parent) path.push(row.number);
  return path.reverse();
}

// Moving with keys shows each command without an entry in the history. The address changes when no key
// has been pressed for a while, because browsers limit the number of changes, and before each click, so
// that a link to the address before the steps leads there.
let rest = 0;
let afterRest = null; // link
function settle() {
  if (afterRest !== null) location.replace(afterRest);
  leaveSteps();
}

function leaveSteps() {
  clearTimeout(rest);
  afterRest = null;
}

function go(row, isStep) {
  row.element.focus();
  const path = pathOfRow(row);
  const link = linkTo(path);
  if (!isStep) {
    leaveSteps();
    location.hash = link;
    return;
  }
  showPath(link.slice(1), path);
  afterRest = link;
  rest = setTimeout(settle, REST);
}

document.addEventListener('click', settle, true);

function rowWithPrefix(row, key) {
  const rows = [...tree.children];
  const at = rows.indexOf(row.element);
  return [...rows.slice(at + 1), ...rows.slice(0, at)]
    .find((element) => nodes[rowOf.get(element).number].word.toLowerCase().startsWith(key.toLowerCase()));
}

function rowAfterKey(row, key) {
  const {element} = row;
  switch (key) {
  case 'ArrowDown': return element.nextElementSibling;
  case 'ArrowUp': return element.previousElementSibling;
  case 'Home': return tree.firstElementChild;
  case 'End': return tree.lastElementChild;
  case 'ArrowRight': return row.children?.[0].element;
  case 'ArrowLeft': return row.parent?.element;
  default: return key.length === 1 && key !== ' ' ? rowWithPrefix(row, key) : undefined;
  }
}

tree.addEventListener('keydown', (event) => {
  const row = rowOf.get(event.target);
  if (!row || event.ctrlKey || event.altKey || event.metaKey || event.key === '/') return;
  const {key} = event;
  if (key === 'ArrowRight' && row.children === null && nodes[row.number].next) open(row);
  else if (key === 'ArrowLeft' && row.children !== null) close(row);
  else if (key === 'Enter' || key === ' ') {
    if (row.children === null) open(row); else close(row);
    go(row);
  } else if (key === '*') (row.parent?.children ?? topRows).forEach(open);
  else {
    const target = rowAfterKey(row, key);
    if (target === undefined) return;
    if (target) go(rowOf.get(target), true);
  }
  event.preventDefault();
});

tree.addEventListener('click', (event) => {
  const row = rowOf.get(event.target.closest('li'));
  if (!row) return;
  if (row.children === null) open(row);
  else if (row === selected) close(row);
  go(row);
});

// ---- Search: every term is in the node or before it on one path, one at least in the node ----

const RANKS = {word: 1, start: 2, part: 3, function: 4, help: 5, before: 2};
const DEPTHS = 64; // deeper nodes rank as this depth
const MOST_TERMS = 20;
const MOST_SETS = 16; // sets of terms of a node that are kept; terms on different paths make several
let index = null; // the texts of all nodes in one string, and the nodes in an order of search

// The nodes such that each is after all its parents.
function topologicalOrder() {
  const order = new Uint32Array(nodes.length);
  let length = 0;
  const missing = new Uint32Array(nodes.length); // parents that are not in the order
  forEachLink((parent, child) => { if (parent >= 0) ++missing[child]; });
  for (let number = 0; number < nodes.length; ++number) if (missing[number] === 0) order[length++] = number;
  for (let i = 0; i < length; ++i)
    for (const child of childrenOf(order[i])) if (--missing[child] === 0) order[length++] = child;
  return order;
}

function indexed() {
  if (index !== null) return index;
  const texts = [];
  const starts = new Uint32Array(nodes.length + 1); // of the word,
  const functions = new Uint32Array(nodes.length); // the function
  const helps = new Uint32Array(nodes.length); // and the help of each node
  let length = 0;
  const add = (text = '') => {
    const lower = `${text.toLowerCase()}\n`;
    texts.push(lower);
    length += lower.length;
  };
  nodes.forEach((node, number) => {
    starts[number] = length;
    add(node.word);
    functions[number] = length;
    add(node.function);
    helps[number] = length;
    add(node.help);
  });
  starts[nodes.length] = length;
  index = {text: texts.join(''), starts, functions, helps, order: topologicalOrder()};
  return index;
}

// The rank of a term in each node, 0 where it is not.
function ranksOf(term) {
  const {text, starts, functions, helps} = indexed();
  const ranks = new Uint8Array(nodes.length);
  let number = 0;
  for (let at = text.indexOf(term); at >= 0; at = text.indexOf(term, starts[number + 1])) {
    while (starts[number + 1] <= at) ++number;
    if (at >= helps[number]) ranks[number] = RANKS.help;
    else if (at >= functions[number]) ranks[number] = RANKS.function;
    else if (at > starts[number]) ranks[number] = RANKS.part;
    else ranks[number] = '\n<'.includes(text[at + term.length]) ? RANKS.word : RANKS.start;
  }
  return ranks;
}

// Unites two lists of sets of terms, which are bit masks, without the sets within another one.
function united(sets, others) {
  const isIn = (set, list) => list.some((other) => (set | other) === other);
  const more = others.filter((set) => !isIn(set, sets));
  return [...sets.filter((set) => !isIn(set, more)), ...more].slice(0, MOST_SETS);
}

// The terms on the paths to each node, including its own terms: mostly one set, which has all others.
class TermsOnPaths {
  constructor(own) {
    this.own = own;
    this.single = new Uint32Array(nodes.length);
    this.several = new Map(); // of a node with more sets
    for (const number of indexed().order) this.add(number);
  }

  add(number) {
    const own = this.own[number];
    let set = 0;
    let list = null;
    for (let i = parentStarts[number]; i < parentStarts[number + 1]; ++i) {
      if (parents[i] < 0) continue;
      const other = this.single[parents[i]];
      const others = this.several.get(parents[i]);
      if (list === null && others === undefined && (set & other) === set) set = other;
      else if (list !== null || others !== undefined || (set & other) !== other)
        list = united(list ?? [set], others ?? [other]);
    }
    list = list?.reduce((all, one) => united(all, [one | own]), []);
    if (list?.length > 1) this.several.set(number, list);
    else this.single[number] = (list?.[0] ?? set) | own;
  }

  // Whether one path has all the terms.
  have(number, terms) {
    const list = this.several.get(number);
    return list ? list.some((set) => (set & terms) === terms) : (this.single[number] & terms) === terms;
  }

  // A path to a node with the terms, the first one if possible.
  pathWith(number, terms) {
    const end = [];
    let missing = terms & ~this.own[number];
    while (missing !== 0) {
      end.push(number);
      const isOnPath = (parent) => parent >= 0 && this.have(parent, missing);
      number = isOnPath(parentOf[number]) ? parentOf[number] : parentsOf(number).find(isOnPath);
      missing &= ~this.own[number];
    }
    return [...firstPathTo(number), ...end.reverse()];
  }
}

// The nodes that match, best first: by rank, then by depth. Sorted by counting, because the first letter
// may match all nodes.
function find(terms) {
  const total = new Uint16Array(nodes.length); // ranks of all terms together
  const own = new Uint32Array(nodes.length); // terms in each node
  terms.forEach((term, i) => {
    const ranks = ranksOf(term);
    for (let number = 0; number < ranks.length; ++number) {
      if (ranks[number] > 0) own[number] |= 1 << i;
      total[number] += ranks[number] || RANKS.before;
    }
  });
  const all = 2 ** terms.length - 1;
  const onPaths = terms.length === 1 ? null : new TermsOnPaths(own);
  const isFound = (number) => own[number] !== 0 && (onPaths === null || onPaths.have(number, all));
  const places = new Uint32Array((RANKS.help * terms.length + 1) * DEPTHS + 1);
  const keyOf = (number) => total[number] * DEPTHS + Math.min(depthOf[number], DEPTHS - 1);
  for (let number = 0; number < nodes.length; ++number) if (isFound(number)) ++places[keyOf(number) + 1];
  for (let key = 1; key < places.length; ++key) places[key] += places[key - 1];
  const numbers = new Uint32Array(places.at(-1));
  for (let number = 0; number < nodes.length; ++number) if (isFound(number)) numbers[places[keyOf(number)]++] = number;
  return {numbers, pathTo: (number) => onPaths?.pathWith(number, all) ?? firstPathTo(number)};
}

// The text with the terms marked. Lower case may have another length; nothing is marked then.
function marked(text, terms) {
  const lower = text.toLowerCase();
  const content = [];
  let from = 0;
  while (lower.length === text.length) {
    let next = null;
    for (const term of terms) {
      const at = lower.indexOf(term, from);
      if (at >= 0 && (next === null || at < next.at)) next = {at, end: at + term.length};
    }
    if (next === null) break;
    content.push(text.slice(from, next.at), make('mark', {}, text.slice(next.at, next.end)));
    from = next.end;
  }
  return [...content, text.slice(from)];
}

function resultOf(path, terms) {
  const node = nodes[path.at(-1)];
  const mark = (element) => {
    element.replaceChildren(...marked(element.textContent, terms));
    return element;
  };
  const link = make('a', {href: linkTo(path)}, ...lineOf(path, (part) => mark(wordOf(part))));
  const about = [node.help, node.function].filter(Boolean).join(' – ');
  if (about) link.append(mark(make('span', {class: 'help', dir: 'auto'}, about)));
  return make('li', {}, link);
}

let found = null;
let terms = [];

function showMore() {
  const from = results.children.length;
  const numbers = found.numbers.subarray(from, from + BATCH);
  results.append(...Array.from(numbers, (number) => resultOf(found.pathTo(number), terms)));
  more.hidden = results.children.length === found.numbers.length;
}

function runSearch() {
  terms = search.value.toLowerCase().split(/\s+/).filter(Boolean).slice(0, MOST_TERMS);
  const isSearching = terms.length > 0;
  tree.hidden = isSearching;
  results.hidden = !isSearching;
  results.replaceChildren();
  results.scrollTop = 0;
  more.hidden = true;
  status.textContent = '';
  if (!isSearching) return selected?.element.scrollIntoView({block: 'nearest'});
  found = find(terms);
  showMore();
  const count = found.numbers.length;
  status.textContent = count === 1 ? '1 result' : `${count.toLocaleString('en')} results`;
}

search.addEventListener('input', runSearch);
more.addEventListener('click', showMore);
search.addEventListener('keydown', (event) => {
  if (event.key === 'Escape') {
    search.value = '';
    runSearch();
  } else if (event.key === 'ArrowDown') {
    (results.hidden ? entryOfTree() : results.querySelector('a'))?.focus();
  } else if (event.key === 'Enter') {
    const best = results.querySelector('a');
    if (best) detail.focus();
    best?.click();
  } else return;
  event.preventDefault();
});

results.addEventListener('keydown', (event) => {
  const item = event.target.closest('li');
  if (event.key === 'Escape') search.focus();
  else if (event.key === 'ArrowDown') item?.nextElementSibling?.firstElementChild.focus();
  else if (event.key === 'ArrowUp') (item?.previousElementSibling?.firstElementChild ?? search).focus();
  else return;
  event.preventDefault();
});

document.addEventListener('keydown', (event) => {
  if (event.key !== '/' || event.target === search || event.ctrlKey || event.altKey || event.metaKey) return;
  event.preventDefault();
  search.focus();
  search.select();
});

// ---- Print: the reference, which is a part of the page for readers without scripts ----

window.addEventListener('beforeprint', () => {
  const reference = new DOMParser().parseFromString(query('noscript').textContent, 'text/html');
  query('.printed').replaceChildren(reference.querySelector('.reference'));
});
window.addEventListener('afterprint', () => query('.printed').replaceChildren());

topRows = makeRows(null);
tree.append(...topRows.map(({element}) => element));
query('.wait').remove();
query('.app').hidden = false;
window.addEventListener('hashchange', show);
show();
setTimeout(indexed);
})();
