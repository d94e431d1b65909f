// When the page's charts are drawn, whatever draws them. A report of some hundred variables
// holds as many charts, and a reader looks at a few at a time: a chart whose container lies in
// the window is drawn at once, the others are noted and drawn in short slices, the nearest to
// the window first, so that a jump through a link to a variable finds its chart drawn in the
// next slice. Printing draws every chart still waiting before the page is laid out for paper.
// The page runs each chart script as a jQuery ready handler; those run several to a task too.

// A slice ends after SLICE_MS, or as soon as the reader clicks or types where the browser can
// tell. Between two slices the browser answers the reader and draws a frame; a frame of a
// long page costs as much as several charts (it lays the whole page out), so a slice holds
// a few dozen, and a jump waits for at most one slice.
const SLICE_MS = 400;
const NEAR = '100%';

const now = () => performance.now();
const scheduling = navigator.scheduling;

function sliceOver(start) {
  return now() - start >= SLICE_MS || Boolean(scheduling?.isInputPending?.());
}

function inWindow(box) {
  const height = window.innerHeight || document.documentElement.clientHeight;
  const width = window.innerWidth || document.documentElement.clientWidth;
  return box.bottom >= 0 && box.top <= height && box.right >= 0 && box.left <= width;
}

// A failing chart is reported as jQuery reports a failing ready handler: a console warning for
// a programming error and an uncaught error of its own, which stops nothing else.
export function reportFailure(error) {
  const $ = window.jQuery;
  if ($?.readyException) {
    $.Deferred?.exceptionHook?.(error);
    $.readyException(error);
  } else {
    setTimeout(() => {
      throw error;
    });
  }
}

const handlers = [];

// The ready handlers run in their order, several to a task: between two tasks the browser
// draws a frame of a document of tens of megabytes. Each failure is still reported on its own.
export function batchReadyHandlers($) {
  if (!$?.fn?.ready || !$.readyException) {
    return;
  }
  const ready = $.fn.ready;
  const runHandlers = () => {
    const start = now();
    while (handlers.length) {
      const handler = handlers.shift();
      try {
        handler.call(document, $);
      } catch (error) {
        reportFailure(error);
      }
      if (handlers.length && sliceOver(start)) {
        setTimeout(runHandlers, 0);
        return;
      }
    }
  };
  $.fn.ready = function (handler) {
    if (typeof handler !== 'function') {
      return this;
    }
    handlers.push(handler);
    if (handlers.length === 1) {
      ready.call(this, runHandlers);
    }
    return this;
  };
}

const queue = [];
let observer = null;
let drawing = false;

function run(entry) {
  queue.splice(queue.indexOf(entry), 1);
  observer.unobserve(entry.container);
  try {
    entry.build();
  } catch (error) {
    reportFailure(error);
  }
}

// Where the window lies on the page. Asking the browser lays out the whole page again after
// each chart put in it, which on a page of hundreds of charts costs as much as the chart: a
// slice asks once, as the reader cannot scroll before it ends.
function windowSpan() {
  const top = window.pageYOffset;
  return {top, bottom: top + (window.innerHeight || document.documentElement.clientHeight)};
}

// How far a waiting chart lies from the window; 0 when it is in it.
function distance(entry, {top, bottom}) {
  return entry.top > bottom ? entry.top - bottom : entry.bottom < top ? top - entry.bottom : 0;
}

// The waiting chart nearest to the window, the first in page order among equals.
function nearest(span) {
  let best = null;
  let bestDistance = Infinity;
  for (const entry of queue) {
    const away = distance(entry, span);
    if (away < bestDistance) {
      best = entry;
      bestDistance = away;
    }
  }
  return best;
}

function drawSlice() {
  // The chart scripts first: they are quick, and a chart can only be drawn once its script ran.
  if (handlers.length) {
    setTimeout(drawSlice, 0);
    return;
  }
  drawing = false;
  const start = now();
  const span = windowSpan();
  let shown = false;
  for (let entry = nearest(span); entry; entry = nearest(span)) {
    // The charts in the window (after a jump, say) are on screen at the next frame, not after
    // a whole slice of charts out of sight.
    const inView = distance(entry, span) === 0;
    if (shown && !inView) {
      break;
    }
    shown ||= inView;
    run(entry);
    if (sliceOver(start)) {
      break;
    }
  }
  drawSoon();
}

function drawSoon() {
  if (!drawing && queue.length) {
    drawing = true;
    setTimeout(drawSlice, 0);
  }
}

function seen(changes) {
  const scrolled = window.pageYOffset;
  for (const change of changes) {
    for (const entry of queue) {
      if (entry.container === change.target) {
        entry.top = change.boundingClientRect.top + scrolled;
        entry.bottom = change.boundingClientRect.bottom + scrolled;
      }
    }
  }
  // A container that came into the window (a jump, a scroll) is drawn now, not after a slice.
  for (const change of changes) {
    const entry = change.isIntersecting && inWindow(change.boundingClientRect)
      && queue.find((e) => e.container === change.target);
    if (entry) {
      run(entry);
    }
  }
  drawSoon();
}

export function drawAll() {
  while (queue.length) {
    run(queue[0]);
  }
}

if (window.IntersectionObserver) {
  observer = new IntersectionObserver(seen, {rootMargin: NEAR});
  window.addEventListener('beforeprint', drawAll);
  matchMedia?.('print')?.addEventListener?.('change', (event) => event.matches && drawAll());
}

// Calls build() now when container is in the window (or the browser cannot tell), else later.
export function schedule(container, build) {
  const box = observer && container?.nodeType === 1 ? container.getBoundingClientRect() : null;
  if (!box || inWindow(box)) {
    build();
    return;
  }
  const scrolled = window.pageYOffset;
  queue.push({container, build, top: box.top + scrolled, bottom: box.bottom + scrolled});
  observer.observe(container);
  drawSoon();
}
