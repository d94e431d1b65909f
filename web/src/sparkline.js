/*
 * Small inline charts for the report page: $(elements).sparkline(values, options).
 *
 * values is 'html' or 'myhtml' (read the comma-separated text of each element)
 * or an array. The report writes its numbers as text into spans, so every value
 * may arrive as a string, options included (spotRadius: '1.5').
 */
(function ($) {
  'use strict';

  var common = {
    type: 'line',
    lineColor: '#00f',
    fillColor: '#cdf',
    defaultPixelsPerValue: 8,
    width: 'auto',
    height: 'auto',
    composite: false
  };

  var kinds = {
    line: {
      defaults: {
        spotColor: '#f80',
        spotRadius: 1.5,
        minSpotColor: '#f80',
        maxSpotColor: '#f80',
        lineWidth: 1,
        normalRangeMin: undefined,
        normalRangeMax: undefined,
        normalRangeColor: '#ccc',
        chartRangeMin: undefined,
        chartRangeMax: undefined
      },
      draw: drawLine
    },
    bar: {
      defaults: {
        barColor: '#00f',
        negBarColor: '#f44',
        zeroColor: undefined,
        zeroAxis: undefined,
        barWidth: 4,
        barSpacing: 1,
        chartRangeMin: undefined,
        chartRangeMax: undefined,
        colorMap: {}
      },
      draw: drawBar
    }
  };

  function trim(text) {
    return String(text).replace(/^\s+|\s+$/g, '');
  }

  // A finite number, or null for anything that cannot be drawn ("null", "", "nan", "inf"
  // as a C library prints them): such values become gaps rather than NaN coordinates.
  function toNumber(value) {
    if (value === null || value === undefined) {
      return null;
    }
    var text = trim(value);
    if (text === '' || text === 'null') {
      return null;
    }
    var number = Number(text);
    return isFinite(number) ? number : null;
  }

  function textValues(element) {
    var text = trim(element.textContent);
    return text === '' ? [] : text.split(',');
  }

  function lowest(numbers) {
    return Math.min.apply(Math, numbers);
  }

  function highest(numbers) {
    return Math.max.apply(Math, numbers);
  }

  // The bounds the caller asked for widen the data range, they never narrow it.
  function widenRange(low, high, bounds) {
    $.each(bounds, function (i, bound) {
      var number = toNumber(bound);
      if (number !== null) {
        low = Math.min(low, number);
        high = Math.max(high, number);
      }
    });
    return {low: low, high: high, size: high - low || 1};
  }

  function pixelWidth(width, type, count, perValue) {
    var auto = count * perValue;
    var text = String(width);
    if (text.indexOf('px') < 0) {
      return auto;
    }
    var pixels = Math.round(parseFloat(text));
    if (!isFinite(pixels)) {
      return auto;
    }
    // Bars are laid out at their own width; a line never stretches beyond auto.
    return type === 'bar' ? pixels : Math.min(pixels, auto);
  }

  // A given height in pixels; 'auto' is measured on the page (see measure below).
  function givenHeight(height) {
    var pixels = Math.round(parseFloat(height));
    return isFinite(pixels) ? pixels : 0;
  }

  function makeCanvas(element, width, height, composite) {
    var existing = composite && $(element).children('canvas')[0];
    if (existing) {
      return existing;
    }
    var canvas = document.createElement('canvas');
    canvas.width = width;
    canvas.height = height;
    canvas.style.cssText = 'display: inline-block; width: ' + width + 'px; height: ' + height + 'px; vertical-align: top';
    // jQuery's empty() also drops the data and handlers it keeps for the elements it removes;
    // text alone has none.
    if (element.firstElementChild) {
      $(element).empty();
    } else {
      element.textContent = '';
    }
    element.appendChild(canvas);
    // Internet Explorer before version 9 only draws once the emulation script adopts the element.
    if (!canvas.getContext && window.G_vmlCanvasManager) {
      canvas = window.G_vmlCanvasManager.initElement(canvas);
    }
    return canvas;
  }

  function linePoints(values) {
    return $.map(values, function (value, index) {
      var parts = String(value).split(':');
      if (parts.length === 2) {
        var x = toNumber(parts[0]);
        var y = toNumber(parts[1]);
        return [x === null || y === null ? null : {x: x, y: y}];
      }
      var number = toNumber(value);
      return [number === null ? null : {x: index, y: number}];
    });
  }

  function drawLine(context, width, height, values, options) {
    var points = linePoints(values);
    var present = $.grep(points, function (point) { return point !== null; });
    if (present.length < 2) {
      return;
    }
    var ys = $.map(present, function (point) { return point.y; });
    var xs = $.map(present, function (point) { return point.x; });
    var smallest = lowest(ys);
    var largest = highest(ys);
    var bandLow = toNumber(options.normalRangeMin);
    var bandHigh = toNumber(options.normalRangeMax);
    var hasBand = bandLow !== null && bandHigh !== null;
    var range = widenRange(smallest, largest, hasBand
      ? [bandLow, bandHigh, options.chartRangeMin, options.chartRangeMax]
      : [options.chartRangeMin, options.chartRangeMax]);
    var xLow = lowest(xs);
    var xSize = highest(xs) - xLow || 1;

    var radius = toNumber(options.spotRadius) || 0;
    if (width < 4 * radius || height < 4 * radius) {
      radius = 0;
    }
    var spotsOn = radius !== 0 && !!(options.spotColor || options.minSpotColor || options.maxSpotColor);
    var margin = spotsOn ? Math.ceil(radius) : 0;
    var plotWidth = width - 1 - 2 * margin;
    var plotHeight = height - 1 - 2 * margin;

    function column(x) {
      return margin + Math.round(plotWidth * (x - xLow) / xSize);
    }
    function row(y) {
      return margin + Math.round(plotHeight * (range.high - y) / range.size);
    }

    if (hasBand) {
      var bandTop = row(Math.max(bandLow, bandHigh));
      context.fillStyle = options.normalRangeColor;
      context.fillRect(0, bandTop, width, row(Math.min(bandLow, bandHigh)) - bandTop + 1);
    }

    var runs = [[]];
    $.each(points, function (i, point) {
      if (point === null) {
        runs.push([]);
      } else {
        runs[runs.length - 1].push(point);
      }
    });
    var baseLine = row(range.low) + 1;
    $.each(runs, function (i, run) {
      if (run.length === 0) {
        return;
      }
      if (options.fillColor) {
        context.beginPath();
        context.moveTo(column(run[0].x) + 0.5, baseLine);
        $.each(run, function (j, point) {
          context.lineTo(column(point.x) + 0.5, row(point.y) + 0.5);
        });
        context.lineTo(column(run[run.length - 1].x) + 0.5, baseLine);
        context.closePath();
        context.fillStyle = options.fillColor;
        context.fill();
      }
      context.beginPath();
      $.each(run, function (j, point) {
        context[j === 0 ? 'moveTo' : 'lineTo'](column(point.x) + 0.5, row(point.y) + 0.5);
      });
      context.lineWidth = toNumber(options.lineWidth) || 1;
      context.strokeStyle = options.lineColor;
      context.stroke();
    });

    if (radius === 0) {
      return;
    }
    function spot(point, color) {
      if (!color) {
        return;
      }
      context.beginPath();
      context.arc(column(point.x) + 0.5, row(point.y) + 0.5, radius, 0, 2 * Math.PI, false);
      context.fillStyle = color;
      context.fill();
    }
    spot(present[present.length - 1], options.spotColor);
    if (range.high !== smallest) {
      spot(present[$.inArray(smallest, ys)], options.minSpotColor);
      spot(present[$.inArray(largest, ys)], options.maxSpotColor);
    }
  }

  function drawBar(context, width, height, values, options) {
    var numbers = $.map(values, function (value) { return [toNumber(value)]; });
    var present = $.grep(numbers, function (number) { return number !== null; });
    if (present.length === 0) {
      return;
    }
    var count = numbers.length;
    var spacing = toNumber(options.barSpacing) || 0;
    // Bars start at 4 pixels whatever barWidth says; only a too narrow drawing thins them.
    var barWidth = 4;
    var needed = 4 * count + (count - 1) * spacing;
    if (needed > width) {
      barWidth = Math.max(1, Math.round(4 * width / needed));
    }
    var smallest = lowest(present);
    var range = widenRange(smallest, highest(present), [options.chartRangeMin, options.chartRangeMax]);
    var zeroAxis = options.zeroAxis === undefined || options.zeroAxis === null
      ? smallest < 0 : !!options.zeroAxis;
    var zeroRow = Math.min(height, Math.max(0, Math.round(height * range.high / range.size)));
    var colorMap = options.colorMap || {};

    $.each(numbers, function (i, value) {
      if (value === null) {
        return;
      }
      var color = options.barColor;
      if (value < 0) {
        color = options.negBarColor;
      } else if (value === 0 && options.zeroColor) {
        color = options.zeroColor;
      }
      if (colorMap[value] !== undefined) {
        color = colorMap[value];
      }
      var barHeight, top;
      if (zeroAxis) {
        barHeight = Math.round(height * Math.abs(value) / range.size) + 1;
        top = value < 0 ? zeroRow : zeroRow - barHeight;
      } else {
        barHeight = Math.round(height * (value - range.low) / range.size) + 1;
        top = height - barHeight;
      }
      context.fillStyle = color;
      context.fillRect(i * (barWidth + spacing), top, barWidth, barHeight);
    });
  }

  // Reading a size from the page makes the browser lay the document out again if
  // anything changed since the last reading, and a report can hold a thousand
  // sparklines in tens of megabytes of page. Measuring and drawing each element in
  // turn would lay the page out once per element; instead every element is measured
  // first (its visibility and, for an 'auto' height, the height of one line of its
  // text), which takes one layout, and only then are the canvases put in. Plain DOM
  // calls rather than jQuery's here: with a thousand elements its per-call work is
  // most of the time left besides that layout.
  function measure(jobs) {
    var i, job;
    for (i = 0; i < jobs.length; i++) {
      job = jobs[i];
      if (job.settings.height === 'auto') {
        job.probe = document.createElement('span');
        job.probe.textContent = 'X';
        job.element.appendChild(job.probe);
      }
    }
    var root = document.documentElement;
    for (i = 0; i < jobs.length; i++) {
      job = jobs[i];
      // Drawing needs a laid-out element: a hidden one would measure as zero.
      job.shown = !job.hasContent || visible(job.element);
      job.attached = root.contains(job.element);
      job.height = job.probe ? job.probe.offsetHeight : givenHeight(job.settings.height);
    }
    for (i = 0; i < jobs.length; i++) {
      job = jobs[i];
      if (job.probe) {
        job.probe.parentNode.removeChild(job.probe);
        job.probe = null;
      }
    }
  }

  // jQuery's ':visible'.
  function visible(element) {
    return !!(element.offsetWidth || element.offsetHeight || element.getClientRects().length);
  }

  var ATTRIBUTES = {width: 'width', normalrangemin: 'normalRangeMin', normalrangemax: 'normalRangeMax'};

  $.fn.sparkline = function (values, options) {
    var fromText = values === undefined || values === 'html' || values === 'myhtml';
    var type = (options && options.type) || common.type;
    var kind = kinds[type];
    if (!kind) {
      return this;
    }
    var jobs = [];
    this.each(function () {
      var element = this;
      var settings = $.extend({}, common, kind.defaults, options);
      var list;
      if (fromText) {
        list = textValues(element);
        if (values === 'myhtml') {
          settings.normalRangeMin = list.shift();
          settings.normalRangeMax = list.shift();
        } else {
          $.each(ATTRIBUTES, function (attribute, option) {
            var given = element.getAttribute(attribute);
            if (given !== null) {
              settings[option] = given;
            }
          });
        }
      } else {
        list = $.makeArray(values);
      }
      jobs.push({
        element: element,
        settings: settings,
        list: list,
        hasContent: element.innerHTML !== '',
        width: pixelWidth(settings.width, type, list.length, settings.defaultPixelsPerValue)
      });
    });
    measure(jobs);
    $.each(jobs, function (i, job) {
      // An element taken out of the page by an earlier one's drawing (one nested in
      // another) is left alone, as it would have been found hidden.
      if (!job.shown || (job.attached && !document.documentElement.contains(job.element))) {
        return;
      }
      var canvas = makeCanvas(job.element, job.width, job.height, job.settings.composite);
      if (canvas.getContext) {
        kind.draw(canvas.getContext('2d'), canvas.width, canvas.height, job.list, job.settings);
      }
    });
    return this;
  };
})(jQuery);
