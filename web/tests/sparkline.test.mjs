// The sparkline plugin as the bundle ships it, measured on the canvas it draws.
import {after, before, describe, test} from 'node:test';
import assert from 'node:assert/strict';
import {BUNDLE, launchBrowser} from './browser.mjs';
import {COLOR, Picture} from './pixels.mjs';

// The two configurations of the report page.
const PAGE_LINE = {
  type: 'line', width: '100px', lineColor: 'green', fillColor: false,
  spotColor: '', minSpotColor: 'blue', maxSpotColor: 'red', spotRadius: '1.5',
  normalRangeMin: '1', normalRangeMax: '3',
};
const PAGE_BAR = {
  type: 'bar', width: '200px', fillColor: false, barColor: 'green',
  normalRangeMin: '1', normalRangeMax: '2',
};
// A plain line: no spots, no fill, so that only the line itself is drawn.
const BARE_LINE = {type: 'line', spotRadius: 0, fillColor: false, lineColor: 'black', height: '20px'};

let browser;
let page;
let errors;

before(async () => {
  browser = await launchBrowser();
  ({page, errors} = await browser.newPage());
  await page.setContent('<!DOCTYPE html><html><head></head><body style="font: 16px sans-serif"></body></html>');
  await page.addScriptTag({path: BUNDLE});
});

after(async () => {
  await browser?.close();
});

// Puts the markup into the page, runs the plugin on its element of class "t" (or its
// first element) and reports what became of that element.
async function sparkline({markup, text = '', values, options = {}}) {
  return page.evaluate(({markup, text, values, options}) => {
    const holder = document.createElement('div');
    holder.innerHTML = markup ?? '<span class="t"></span>';
    document.body.appendChild(holder);
    const element = holder.querySelector('.t') ?? holder.firstElementChild;
    if (markup === undefined) {
      element.textContent = text;
    }
    const probe = document.createElement('span');
    probe.textContent = 'X';
    element.appendChild(probe);
    const lineHeight = probe.offsetHeight;
    probe.remove();

    $(element).sparkline(values, options);
    const canvases = element.querySelectorAll('canvas');
    const canvas = canvases[0];
    const result = {html: element.innerHTML, canvasCount: canvases.length, lineHeight, canvas: null};
    if (canvas) {
      const data = canvas.width && canvas.height
        ? Array.from(canvas.getContext('2d').getImageData(0, 0, canvas.width, canvas.height).data) : [];
      result.canvas = {width: canvas.width, height: canvas.height, data,
        cssWidth: canvas.getBoundingClientRect().width, onlyChild: element.childNodes.length === 1};
    }
    holder.remove();
    return result;
  }, {markup, text, values, options});
}

async function picture(args) {
  const result = await sparkline(args);
  assert.ok(result.canvas, `no canvas; element holds ${result.html}`);
  return new Picture(result.canvas);
}

// Where a value of the vertical range [low, high] lands, and point i of n across, when
// `room` pixels are kept free at each edge for the spots.
function rowOf(pic, value, [low, high], room = 0) {
  return room + (pic.height - 1 - 2 * room) * (high - value) / (high - low);
}
function columnOf(pic, i, n, room = 0) {
  return room + (pic.width - 1 - 2 * room) * i / (n - 1);
}
function near(actual, expected, what, tolerance = 1) {
  assert.ok(Math.abs(actual - expected) <= tolerance, `${what}: ${actual}, expected ${expected.toFixed(1)} ±${tolerance}`);
}

test('drawing raises no error in the page', () => {
  assert.deepEqual(errors, []);
});

describe('value sources', () => {
  const cases = [
    {
      name: "'myhtml' takes the first two values as the normal range",
      args: {text: '1,3,5,2,4', values: 'myhtml', options: PAGE_LINE},
      width: 24, range: [1, 5], points: [5, 2, 4], band: [1, 3], room: 2,
    },
    {
      name: "'myhtml' text wins over the normal range options",
      args: {text: '0,8,2,6,4,8', values: 'myhtml', options: PAGE_LINE},
      width: 32, range: [0, 8], points: [2, 6, 4, 8], band: [0, 8], room: 2,
    },
    {
      name: "'html' takes every value as a point and the range from the options",
      args: {text: '2,4,6', values: 'html', options: PAGE_LINE},
      width: 24, range: [1, 6], points: [2, 4, 6], band: [1, 3], room: 2,
    },
    {
      name: "'html' lets the element's attributes override width and normal range",
      args: {
        markup: '<span class="t" width="40px" normalrangemin="0" normalrangemax="6">12,2,8,4,10,6</span>',
        values: 'html', options: {...PAGE_LINE, spotRadius: 0},
      },
      width: 40, range: [0, 12], points: [12, 2, 8, 4, 10, 6], band: [0, 6], room: 0,
    },
    {
      name: 'no values argument reads the text like html',
      args: {text: '3,9', values: undefined, options: {...BARE_LINE, fillColor: false}},
      width: 16, range: [3, 9], points: [3, 9], band: null, room: 0,
    },
    {
      name: 'an array is drawn and the text ignored',
      args: {text: '9,9,9,9,9', values: [6, 1, 3, 2], options: BARE_LINE},
      width: 32, range: [1, 6], points: [6, 1, 3, 2], band: null, room: 0,
    },
  ];
  for (const c of cases) {
    test(c.name, async () => {
      const pic = await picture(c.args);
      assert.equal(pic.width, c.width, 'canvas width');
      c.points.forEach((value, i) => {
        const x = Math.round(columnOf(pic, i, c.points.length, c.room));
        near(pic.inkiestRow(x), rowOf(pic, value, c.range, c.room), `row of point ${i} (${value})`);
      });
      const band = pic.rowSpanOf(COLOR.grey);
      if (c.band === null) {
        assert.equal(band, null, 'no band');
      } else {
        assert.ok(band, 'a band is drawn');
        near(band[0], rowOf(pic, c.band[1], c.range, c.room), 'band top');
        near(band[1], rowOf(pic, c.band[0], c.range, c.room), 'band bottom');
      }
    });
  }

  test('the canvas replaces the element text', async () => {
    const result = await sparkline({text: '1,3,5,2,4', values: 'myhtml', options: PAGE_LINE});
    assert.equal(result.canvasCount, 1);
    assert.equal(result.canvas.onlyChild, true);
    assert.equal(result.canvas.cssWidth, 24);
  });
});

describe('width', () => {
  const cases = [
    {type: 'line', width: 'auto', count: 5, expected: 40},
    {type: 'bar', width: 'auto', count: 5, expected: 40},
    {type: 'line', width: '100px', count: 5, expected: 40},
    {type: 'bar', width: '100px', count: 5, expected: 100},
    {type: 'line', width: '100px', count: 20, expected: 100},
    {type: 'bar', width: '100px', count: 20, expected: 100},
    {type: 'line', width: '30px', count: 5, expected: 30},
    {type: 'bar', width: '30px', count: 5, expected: 30},
    {type: 'line', width: '100', count: 5, expected: 40},
    {type: 'bar', width: '100', count: 5, expected: 40},
    {type: 'line', width: 'px', count: 5, expected: 40},
    {type: 'bar', width: 'px', count: 5, expected: 40},
    {type: 'line', width: '50%', count: 5, expected: 40},
    {type: 'bar', width: 'auto', count: 5, perValue: 3, expected: 15},
  ];
  for (const c of cases) {
    test(`${c.type}, width ${c.width}, ${c.count} values${c.perValue ? `, ${c.perValue} px per value` : ''}: ${c.expected}px`, async () => {
      const values = Array.from({length: c.count}, (_, i) => i % 3);
      const options = {type: c.type, width: c.width, ...(c.perValue ? {defaultPixelsPerValue: c.perValue} : {})};
      const pic = await picture({values, options});
      assert.equal(pic.width, c.expected);
    });
  }
});

describe('height', () => {
  const cases = [
    {name: 'auto is one line of 10px text', markup: '<span class="t" style="font-size: 10px">1,2,3</span>', options: {}},
    {name: 'auto is one line of 40px text', markup: '<span class="t" style="font-size: 40px">1,2,3</span>', options: {}},
    {name: 'a pixel height is taken as given', markup: '<span class="t">1,2,3</span>', options: {height: '12px'}, expected: 12},
    {name: 'a number is taken as pixels', markup: '<span class="t">1,2,3</span>', options: {height: 33}, expected: 33},
  ];
  for (const c of cases) {
    test(c.name, async () => {
      const result = await sparkline({markup: c.markup, values: 'html', options: {type: 'line', ...c.options}});
      assert.equal(result.canvas.height, c.expected ?? result.lineHeight);
    });
  }
  test('auto follows the font size', async () => {
    const small = await sparkline({markup: '<span class="t" style="font-size: 10px">1,2</span>', values: 'html'});
    const large = await sparkline({markup: '<span class="t" style="font-size: 40px">1,2</span>', values: 'html'});
    assert.ok(large.canvas.height >= 40 && small.canvas.height < 20,
      `heights ${small.canvas.height} and ${large.canvas.height}`);
  });
});

describe('bar width', () => {
  // Bars are measured on the bottom row, which every bar of a rising series reaches.
  const cases = [
    {count: 5, width: '200px', bar: 4},
    {count: 40, width: '200px', bar: 4},   // 4 * 40 + 39 = 199 fits
    {count: 41, width: '200px', bar: 4},   // 204 > 200: 4 * 200 / 204 = 3.92
    {count: 60, width: '200px', bar: 3},   // 4 * 200 / 299 = 2.68
    {count: 100, width: '200px', bar: 2},  // 4 * 200 / 499 = 1.60
    {count: 200, width: '100px', bar: 1},  // 4 * 100 / 999 = 0.40, at least 1
  ];
  for (const c of cases) {
    test(`${c.count} values in ${c.width}: ${c.bar}-pixel bars, one pixel apart`, async () => {
      const values = Array.from({length: c.count}, (_, i) => i + 1);
      const pic = await picture({values, options: {...PAGE_BAR, width: c.width, height: '10px'}});
      const bottom = pic.height - 1;
      const step = c.bar + 1;
      const visible = Math.min(c.count, Math.floor(pic.width / step));
      for (let i = 0; i < visible; i++) {
        for (let k = 0; k < c.bar; k++) {
          assert.ok(pic.is(i * step + k, bottom, COLOR.green), `bar ${i} covers column ${i * step + k}`);
        }
        assert.ok(pic.isBlank(i * step + c.bar, bottom), `gap after bar ${i} at column ${i * step + c.bar}`);
      }
    });
  }
});

describe('bar heights and colours', () => {
  // Height 20; bars are 4 pixels wide at 0, 5, 10, ... Rows are [top, bottom], inclusive.
  const cases = [
    {
      name: 'a negative value turns the zero axis on: bars grow from zero',
      values: [2, -1, 3], options: {},
      bars: [{rows: [4, 14], color: COLOR.blue}, {rows: [15, 19], color: COLOR.pink}, {rows: [0, 14], color: COLOR.blue}],
    },
    {
      name: 'zero axis off: a negative value grows up from the bottom',
      values: [2, -1, 3], options: {zeroAxis: false},
      bars: [{rows: [4, 19], color: COLOR.blue}, {rows: [19, 19], color: COLOR.pink}, {rows: [0, 19], color: COLOR.blue}],
    },
    {
      name: 'zero axis forced on with a value of zero in zeroColor',
      values: [0, 2, 4], options: {zeroAxis: true, zeroColor: '#888'},
      bars: [{rows: [19, 19], color: COLOR.dark}, {rows: [9, 19], color: COLOR.blue}, {rows: [0, 19], color: COLOR.blue}],
    },
    {
      name: 'without zero axis the smallest value is one pixel high',
      values: [0, 2, 4], options: {zeroColor: '#888'},
      bars: [{rows: [19, 19], color: COLOR.dark}, {rows: [9, 19], color: COLOR.blue}, {rows: [0, 19], color: COLOR.blue}],
    },
    {
      name: 'colorMap overrides the colour of its value, negative ones too',
      values: [1, 2, -3], options: {colorMap: {2: '#0f0', '-3': '#888'}},
      bars: [{rows: [3, 7], color: COLOR.blue}, {rows: [0, 7], color: COLOR.lime}, {rows: [8, 19], color: COLOR.dark}],
    },
    {
      name: '"null" leaves its slot empty',
      values: ['1', 'null', '3'], options: {},
      bars: [{rows: [19, 19], color: COLOR.blue}, null, {rows: [0, 19], color: COLOR.blue}],
    },
    {
      name: 'chartRangeMax widens the range',
      values: [2, 4], options: {chartRangeMax: 8},
      bars: [{rows: [19, 19], color: COLOR.blue}, {rows: [12, 19], color: COLOR.blue}],
    },
    {
      name: 'equal values count as a range of one',
      values: [5, 5], options: {},
      bars: [{rows: [19, 19], color: COLOR.blue}, {rows: [19, 19], color: COLOR.blue}],
    },
    {
      name: 'equal negative values count as a range of one from the zero line at the top',
      values: [-0.03, -0.03], options: {},
      bars: [{rows: [0, 1], color: COLOR.pink}, {rows: [0, 1], color: COLOR.pink}],
    },
    {
      name: 'the normal range options draw nothing on bars',
      values: [3, 1, 2], options: {...PAGE_BAR, width: 'auto', barColor: '#00f'},
      bars: [{rows: [0, 19], color: COLOR.blue}, {rows: [19, 19], color: COLOR.blue}, {rows: [9, 19], color: COLOR.blue}],
    },
  ];
  for (const c of cases) {
    test(c.name, async () => {
      const pic = await picture({values: c.values, options: {type: 'bar', height: '20px', ...c.options}});
      c.bars.forEach((bar, i) => {
        for (let x = 5 * i; x < 5 * i + 4; x++) {
          for (let y = 0; y < pic.height; y++) {
            const inside = bar !== null && y >= bar.rows[0] && y <= bar.rows[1];
            if (inside) {
              assert.ok(pic.is(x, y, bar.color), `bar ${i} at (${x}, ${y}) is ${pic.rgba(x, y)}`);
            } else {
              assert.ok(pic.isBlank(x, y), `(${x}, ${y}) outside bar ${i} is ${pic.rgba(x, y)}`);
            }
          }
        }
      });
    });
  }
});

describe('line shape', () => {
  test('"null" splits the line into two runs', async () => {
    // Five slots over 40 pixels: slots 1 and 3 sit near columns 10 and 29.
    const pic = await picture({text: '1,2,null,3,4', values: 'html', options: BARE_LINE});
    for (let x = 0; x <= 9; x++) {
      assert.ok(pic.columnHasInk(x), `first run reaches column ${x}`);
    }
    for (let x = 12; x <= 27; x++) {
      assert.ok(!pic.columnHasInk(x), `gap at column ${x}`);
    }
    for (let x = 30; x < pic.width; x++) {
      assert.ok(pic.columnHasInk(x), `second run reaches column ${x}`);
    }
  });

  const peaks = [
    {name: 'plain values peak in the middle', text: '0,10,0', peakAt: 0.5},
    {name: 'x:y pairs place the points along x', text: '0:0,9:10,10:0', peakAt: 0.9},
    {name: 'x:y pairs need not start at zero', text: '100:0,101:10,110:0', peakAt: 0.1},
  ];
  for (const c of peaks) {
    test(c.name, async () => {
      const pic = await picture({text: c.text, values: 'html', options: {...BARE_LINE, width: '80px', defaultPixelsPerValue: 30}});
      let peak = 0;
      for (let x = 1; x < pic.width; x++) {
        if (pic.ink(x, 0) > pic.ink(peak, 0)) {
          peak = x;
        }
      }
      assert.ok(pic.ink(peak, 0) > 0.3, 'the peak reaches the top row');
      near(peak, c.peakAt * (pic.width - 1), 'peak column');
    });
  }

  test('equal values draw one flat line', async () => {
    const pic = await picture({values: [3, 3, 3], options: BARE_LINE});
    const rows = new Set(pic.points((x, y) => pic.ink(x, y) > 0.3).map(([, y]) => y));
    assert.equal(rows.size, 1, `rows ${[...rows]}`);
    for (let x = 0; x < pic.width; x++) {
      assert.ok(pic.columnHasInk(x), `column ${x}`);
    }
  });

  const ranges = [
    {name: 'chartRangeMin and chartRangeMax widen the range', options: {chartRangeMin: 0, chartRangeMax: 10}, range: [0, 10]},
    {name: 'a chart range inside the data changes nothing', options: {chartRangeMin: 2.5, chartRangeMax: 2.6}, range: [2, 3]},
  ];
  for (const c of ranges) {
    test(c.name, async () => {
      const pic = await picture({values: [2, 3], options: {...BARE_LINE, ...c.options}});
      near(pic.inkiestRow(0), rowOf(pic, 2, c.range), 'first point');
      near(pic.inkiestRow(pic.width - 1), rowOf(pic, 3, c.range), 'second point');
    });
  }

  const fills = [
    {name: 'fillColor fills below the line', fillColor: '#cdf', filled: true},
    {name: 'fillColor false leaves it empty', fillColor: false, filled: false},
  ];
  for (const c of fills) {
    test(c.name, async () => {
      const pic = await picture({values: [1, 5, 1], options: {type: 'line', height: '20px', spotRadius: 0, fillColor: c.fillColor}});
      const middle = Math.round((pic.width - 1) / 2);
      const below = [];
      for (let y = pic.inkiestRow(middle) + 2; y < pic.height; y++) {
        below.push(pic.is(middle, y, COLOR.lightBlue));
      }
      assert.ok(below.length > 10);
      assert.ok(below.every((filled) => filled === c.filled), `below the peak: ${below}`);
      assert.ok(pic.isBlank(middle, 0) || !pic.near(middle, 0, COLOR.lightBlue, 5), 'nothing above the line');
    });
  }

  test('the line is drawn over the normal range band', async () => {
    const pic = await picture({text: '0,10,5,5,5', values: 'myhtml', options: {...BARE_LINE, lineColor: 'green', normalRangeColor: '#ccc'}});
    const row = pic.inkiestRow(Math.round(pic.width / 2));
    const [r, g, b] = pic.rgba(Math.round(pic.width / 2), row);
    assert.ok(g - r > 60 && g - b > 60, `line pixel is ${[r, g, b]}`);
    assert.deepEqual(pic.rowSpanOf(COLOR.grey), [0, pic.height - 1]);
  });
});

describe('spots', () => {
  const cases = [
    {
      name: 'min and max at their first occurrence, last spot off with an empty spotColor',
      text: '1,3,2,5,1,5,1,3', options: PAGE_LINE,
      range: [1, 5], points: 6, spots: {red: [1, 5], blue: [2, 1], orange: null},
    },
    {
      name: 'the last point gets a spot in spotColor',
      text: '1,3,2,5,1,5,1,3', options: {...PAGE_LINE, spotColor: '#f80'},
      range: [1, 5], points: 6, spots: {red: [1, 5], blue: [2, 1], orange: [5, 3]},
    },
    {
      name: 'equal values without a band: only the last spot',
      text: '4,4,4', values: 'html', options: {...PAGE_LINE, spotColor: '#f80', normalRangeMin: undefined, normalRangeMax: undefined},
      range: [3, 4], points: 3, spots: {red: null, blue: null, orange: [2, 4]},  // a zero range counts as 1: the values sit on top
    },
    {
      name: 'a band above equal values brings back the min and max spots',
      text: '0,9,2,2,2', options: PAGE_LINE,
      range: [0, 9], points: 3, spots: {red: [0, 2], orange: null},
    },
    {
      name: 'a radius of more than a quarter of the height is dropped',
      text: '1,3,2,5,1,5,1,3', options: {...PAGE_LINE, spotColor: '#f80', spotRadius: 5, height: '18px'},
      range: [1, 5], points: 6, spots: {red: null, blue: null, orange: null},
    },
  ];
  for (const c of cases) {
    test(c.name, async () => {
      const pic = await picture({text: c.text, values: c.values ?? 'myhtml', options: c.options});
      for (const [name, expected] of Object.entries(c.spots)) {
        const centre = pic.centreOf(COLOR[name]);
        if (expected === null) {
          assert.equal(centre, null, `no ${name} spot`);
        } else {
          assert.ok(centre, `a ${name} spot`);
          near(centre[0], columnOf(pic, expected[0], c.points, 2), `${name} spot column`);
          near(centre[1], rowOf(pic, expected[1], c.range, 2), `${name} spot row`);
        }
      }
    });
  }

  test('room is left for the spots at the edges', async () => {
    const withSpots = await picture({text: '1,3,2,5,1,5,1,3', values: 'myhtml', options: {...PAGE_LINE, height: '20px'}});
    const dropped = await picture({text: '1,3,2,5,1,5,1,3', values: 'myhtml', options: {...PAGE_LINE, height: '20px', spotRadius: 0}});
    assert.ok(!withSpots.columnHasInk(0, 0.5), 'no line in the first column with spots');
    assert.ok(dropped.columnHasInk(0, 0.5), 'line in the first column without spots');
    const redRow = withSpots.centreOf(COLOR.red)[1];
    assert.ok(redRow >= 1, `the max spot stays inside, centre row ${redRow}`);
  });
});

describe('elements that are not drawn', () => {
  const cases = [
    {name: 'hidden with content', markup: '<span class="t" style="display:none">1,2,3</span>', drawn: false},
    {name: 'inside a hidden parent', markup: '<div style="display:none"><span class="t">1,2,3</span></div>', drawn: false},
    {name: 'visible', markup: '<span class="t">1,2,3</span>', drawn: true},
    {name: 'invisible but laid out', markup: '<span class="t" style="visibility:hidden">1,2,3</span>', drawn: true},
  ];
  for (const c of cases) {
    test(`${c.name}: ${c.drawn ? 'drawn' : 'left as it is'}`, async () => {
      for (const options of [PAGE_LINE, PAGE_BAR]) {
        const result = await sparkline({markup: c.markup, values: 'html', options});
        assert.equal(result.canvasCount, c.drawn ? 1 : 0, `${options.type}: ${result.html}`);
        if (!c.drawn) {
          assert.equal(result.html, '1,2,3');
        }
      }
    });
  }

  test('a hidden element without content is not set aside', async () => {
    const result = await sparkline({markup: '<span class="t" style="display:none"></span>', values: [1, 2], options: {type: 'bar', height: '5px'}});
    assert.equal(result.canvasCount, 1);
  });
});

describe('fewer than two values', () => {
  const cases = [
    {name: 'line of one value', args: {values: [5], options: {type: 'line'}}, drawn: false},
    {name: "'myhtml' with one value after the range", args: {text: '1,3,5', values: 'myhtml', options: PAGE_LINE}, drawn: false},
    {name: "'myhtml' with the range only", args: {text: '1.797693134862316e+308,0.5', values: 'myhtml', options: PAGE_LINE}, drawn: false},
    {name: 'line of one value and a gap', args: {text: '5,null', values: 'html', options: {type: 'line'}}, drawn: false},
    {name: 'line of an unprintable mean', args: {text: '0,inf,nan', values: 'myhtml', options: PAGE_LINE}, drawn: false},
    {name: 'line of two values', args: {values: [5, 6], options: {type: 'line'}}, drawn: true},
    {name: 'bar of one value', args: {values: [5], options: {type: 'bar'}}, drawn: true},
    {name: 'bar of no value', args: {text: '', values: 'html', options: PAGE_BAR}, drawn: false},
  ];
  for (const c of cases) {
    test(`${c.name}: ${c.drawn ? 'drawn' : 'nothing drawn'}`, async () => {
      const result = await sparkline(c.args);
      assert.equal(result.canvasCount, 1, 'the text is replaced all the same');
      assert.equal(new Picture(result.canvas).isEmpty(), !c.drawn);
    });
  }
});

test('composite draws over the previous sparkline', async () => {
  const result = await page.evaluate(() => {
    const element = document.createElement('span');
    document.body.appendChild(element);
    $(element).sparkline([1, 2, 3], {type: 'bar', height: '20px'});
    $(element).sparkline([3, 1, 2], {type: 'line', lineColor: 'red', composite: true, spotRadius: 0, fillColor: false});
    const canvases = element.querySelectorAll('canvas');
    const data = Array.from(canvases[0].getContext('2d').getImageData(0, 0, canvases[0].width, canvases[0].height).data);
    element.remove();
    return {count: canvases.length, canvas: {width: canvases[0].width, height: canvases[0].height, data}};
  });
  assert.equal(result.count, 1);
  const pic = new Picture(result.canvas);
  assert.equal(pic.width, 24);
  assert.ok(pic.is(10, 19, COLOR.blue), 'bar kept');
  assert.ok(pic.centreOf(COLOR.red), 'line added');
});

describe('many elements', () => {
  test('are measured with one layout of the page, not one each', async () => {
    const cdp = await browser.context.newCDPSession(page);
    await cdp.send('Performance.enable');
    const layouts = async () => (await cdp.send('Performance.getMetrics')).metrics
      .find((m) => m.name === 'LayoutCount').value;
    await page.evaluate(() => {
      const table = document.createElement('table');
      table.id = 'many';
      for (let i = 0; i < 200; i++) {
        table.insertRow().insertCell().innerHTML = `<span class="many">0,0.1,${i % 7},${i % 3},${i % 5}</span>`;
      }
      document.body.appendChild(table);
      document.body.offsetHeight;
    });
    const before = await layouts();
    const drawn = await page.evaluate((options) => {
      $('.many').sparkline('myhtml', options);
      return Array.from(document.querySelectorAll('.many'), (span) => {
        const canvas = span.querySelector('canvas');
        return canvas && span.childNodes.length === 1 ? `${canvas.width}x${canvas.height}` : span.innerHTML;
      });
    }, PAGE_LINE);
    const after = await layouts();
    await page.evaluate(() => document.getElementById('many').remove());
    await cdp.detach();
    assert.equal(new Set(drawn).size, 1, `canvases ${[...new Set(drawn)]}`);
    assert.match(drawn[0], /^24x\d+$/);
    // One for the measuring; jQuery may add a few for its one-off feature tests.
    assert.ok(after - before <= 5, `${after - before} layouts for 200 sparklines`);
  });

  test('one inside another: the outer one is drawn, the inner one goes with its text', async () => {
    const result = await page.evaluate(() => {
      const holder = document.createElement('div');
      holder.innerHTML = '<span class="nest">1,2,3<span class="nest">4,5,6</span></span>';
      document.body.appendChild(holder);
      const [outer, inner] = holder.querySelectorAll('.nest');
      $(holder).find('.nest').sparkline('html', {type: 'bar', height: '10px'});
      const seen = {outer: outer.innerHTML.replace(/<canvas[^>]*><\/canvas>/, 'canvas'), inner: inner.innerHTML,
        innerInPage: document.contains(inner)};
      holder.remove();
      return seen;
    });
    assert.deepEqual(result, {outer: 'canvas', inner: '4,5,6', innerInPage: false});
  });
});
