earlier excanvas.compiled.js
