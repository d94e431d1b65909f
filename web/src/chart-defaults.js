/*
 * Page-wide chart settings. The report's chart scripts are fixed text written for
 * a much older release of the chart library; these settings make the bundled
 * release draw them as that release did, without touching the scripts.
 */
(function (Highcharts) {
  'use strict';

  Highcharts.setOptions({
    credits: {enabled: false},
    // Aligned ticks override the fixed max and tickInterval of the secondary axes.
    chart: {alignTicks: false},
    // The old releases set y-axis labels 8 pixels off the axis; at 15 the "100" of the
    // lift charts' secondary axis no longer fits in their 30-pixel left margin.
    yAxis: {labels: {distance: 8}},
    // Tooltips index series.data by position; cropping would leave holes in it.
    plotOptions: {series: {cropThreshold: 100000}},
    // Where the scripts' old legend style {left: 350px, top: 270px} used to put it.
    legend: {floating: true, align: 'left', verticalAlign: 'top', x: 340, y: 260},
    accessibility: {enabled: false}
  });

  // The subtitles set their font with <font face="verdana" >; the library's markup
  // filter would drop the attribute with a console warning on every chart.
  Highcharts.AST.allowedAttributes.push('face');

  function asList(value) {
    if (!value) {
      return [];
    }
    return Object.prototype.toString.call(value) === '[object Array]' ? value : [value];
  }

  // The old releases measured an axis title's margin from the axis line; the new
  // ones add it to the label width, which pushes the titles out of the chart.
  function placeAxisTitles(axes) {
    var list = asList(axes);
    for (var i = 0; i < list.length; i++) {
      var title = list[i] && list[i].title;
      if (title && typeof title.margin === 'number' && title.offset === undefined) {
        title.offset = title.margin;
      }
    }
  }

  function disabledWhenFalse(options, key) {
    if (options && options[key] === false) {
      options[key] = {enabled: false};
    }
  }

  Highcharts.wrap(Highcharts.Chart.prototype, 'init', function (proceed, userOptions, callback) {
    if (userOptions) {
      placeAxisTitles(userOptions.yAxis);
      disabledWhenFalse(userOptions, 'legend');
      var series = asList(userOptions.series);
      for (var i = 0; i < series.length; i++) {
        disabledWhenFalse(series[i], 'marker');
      }
    }
    return proceed.call(this, userOptions, callback);
  });
})(Highcharts);
