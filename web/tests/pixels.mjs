// Reading a canvas's pixels back in the test process.

// Named colours as the canvas stores them (opaque).
export const COLOR = {
  green: [0, 128, 0],
  blue: [0, 0, 255],
  red: [255, 0, 0],
  orange: [255, 136, 0],
  grey: [204, 204, 204],
  lightBlue: [204, 221, 255],
  pink: [255, 68, 68],
  lime: [0, 255, 0],
  dark: [136, 136, 136],
};

export class Picture {
  // From the {width, height, data} that page code returns for a canvas.
  constructor({width, height, data}) {
    this.width = width;
    this.height = height;
    this.data = data;
  }

  rgba(x, y) {
    const i = 4 * (y * this.width + x);
    return this.data.slice(i, i + 4);
  }

  isBlank(x, y) {
    return this.rgba(x, y)[3] === 0;
  }

  // Exactly this opaque colour: what fillRect on whole pixels leaves.
  is(x, y, color) {
    const [r, g, b, a] = this.rgba(x, y);
    return a === 255 && r === color[0] && g === color[1] && b === color[2];
  }

  // Close to this colour, for anti-aliased shapes such as spots.
  near(x, y, color, tolerance = 60) {
    const [r, g, b, a] = this.rgba(x, y);
    return a > 200 && Math.hypot(r - color[0], g - color[1], b - color[2]) <= tolerance;
  }

  // How strongly a pixel is drawn: opaque and dark counts most, transparent not at all.
  ink(x, y) {
    const [r, g, b, a] = this.rgba(x, y);
    return (a / 255) * (765 - r - g - b) / 765;
  }

  points(predicate) {
    const found = [];
    for (let y = 0; y < this.height; y++) {
      for (let x = 0; x < this.width; x++) {
        if (predicate(x, y)) {
          found.push([x, y]);
        }
      }
    }
    return found;
  }

  // Centre of the pixels near a colour, or null when there are none.
  centreOf(color) {
    const found = this.points((x, y) => this.near(x, y, color));
    if (found.length === 0) {
      return null;
    }
    const sum = found.reduce((a, [x, y]) => [a[0] + x, a[1] + y], [0, 0]);
    return [sum[0] / found.length, sum[1] / found.length];
  }

  // Row of the most strongly drawn pixel of a column.
  inkiestRow(x) {
    let best = 0;
    for (let y = 1; y < this.height; y++) {
      if (this.ink(x, y) > this.ink(x, best)) {
        best = y;
      }
    }
    return best;
  }

  columnHasInk(x, threshold = 0.1) {
    for (let y = 0; y < this.height; y++) {
      if (this.ink(x, y) > threshold) {
        return true;
      }
    }
    return false;
  }

  // [first, last] row holding the exact colour anywhere, or null.
  rowSpanOf(color) {
    const rows = this.points((x, y) => this.is(x, y, color)).map(([, y]) => y);
    return rows.length ? [Math.min(...rows), Math.max(...rows)] : null;
  }

  isEmpty() {
    return this.points((x, y) => !this.isBlank(x, y)).length === 0;
  }
}
