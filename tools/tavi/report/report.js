'use strict';
(() => {
  const byId = (id) => document.getElementById(id);
  const axes = ['z', 'y', 'x'];

  // The colours of classes and objects are those of the style sheet, also in the slices.
  const colourOf = (name) => {
    const probe = document.body.appendChild(document.createElement('i'));
    probe.className = name;
    const parts = getComputedStyle(probe).backgroundColor.match(/[\d.]+/g);
    probe.remove();
    return parts.slice(0, 3).map(Number);
  };

  const pictures = new Map();
  const pictureOf = (uri) => {
    if (!pictures.has(uri)) {
      const image = new Image();
      image.src = uri;
      pictures.set(uri, image.decode().then(() => image));
    }
    return pictures.get(uri);
  };

  const pixelsOf = (image, x, y, width, height) => {
    const canvas = document.createElement('canvas');
    canvas.width = width;
    canvas.height = height;
    const context = canvas.getContext('2d', { willReadFrequently: true });
    context.drawImage(image, x, y, width, height, 0, 0, width, height);
    return context.getImageData(0, 0, width, height);
  };

  // Slices

  const startViewer = (data) => {
    const views = data.views;
    const palettes = {
      objects: { opacity: 0.85, colours: Array.from({ length: data.colours }, (_, i) => colourOf('object-' + (i + 1))) },
      classes: { opacity: 0.6, colours: Array.from({ length: data.colours }, (_, i) => colourOf('class-' + (i % 6 + 1))) },
    };
    const chosen = { left: Number(byId('view-left').value), right: Number(byId('view-right').value) };
    const place = [0.5, 0.5, 0.5];  // along each axis, from 0 to 1
    const drawn = {};
    let marked = null;

    const sheetOf = (side, axis) => data.sheets[views[chosen[side]].sheets][axis];
    const tileOf = (side, axis) => Math.round(place[axis] * (sheetOf(side, axis).slices.length - 1));

    const blend = (pixels, labels, palette) => {
      for (let i = 0; i < labels.data.length; i += 4) {
        const label = labels.data[i];
        if (label === 0) continue;
        const colour = palette.colours[(label - 1) % palette.colours.length];
        for (let k = 0; k < 3; ++k) {
          pixels.data[i + k] += palette.opacity * (colour[k] - pixels.data[i + k]);
        }
      }
    };

    // A ring around the marked object, where the view has the voxels that it was measured in.
    const drawMark = (context, view, axis, sheet) => {
      if (!marked || String(view.extents) !== String(marked.extents)) return;
      const [down, right] = [0, 1, 2].filter((each) => each !== axis);  // in the order of axes: x points right, z down
      const x = (marked.center[right] + 0.5) / view.extents[right] * sheet.width;
      const y = (marked.center[down] + 0.5) / view.extents[down] * sheet.height;
      const radius = Math.max(6, Math.min(sheet.width, sheet.height) / 14);
      for (const [width, colour] of [[3.5, '#000'], [1.75, '#fff']]) {
        context.lineWidth = width;
        context.strokeStyle = colour;
        context.beginPath();
        context.arc(x, y, radius, 0, 2 * Math.PI);
        context.stroke();
      }
    };

    const draw = async (side, axis) => {
      const view = views[chosen[side]];
      const sheet = sheetOf(side, axis);
      const tile = tileOf(side, axis);
      const ticket = drawn[side + axis] = {};
      const layers = [pictureOf(sheet.uri)];
      if (view.overlay) layers.push(pictureOf(data.sheets[view.labels][axis].uri));
      const [image, labels] = await Promise.all(layers);
      if (drawn[side + axis] !== ticket) return;
      const { width, height } = sheet;
      const x = tile % sheet.columns * width;
      const y = Math.floor(tile / sheet.columns) * height;
      const canvas = byId('slice-' + side + '-' + axes[axis]);
      canvas.width = width;
      canvas.height = height;
      const context = canvas.getContext('2d');
      if (labels) {
        const pixels = pixelsOf(image, x, y, width, height);
        blend(pixels, pixelsOf(labels, x, y, width, height), palettes[view.overlay]);
        context.putImageData(pixels, 0, 0);
      } else {
        context.drawImage(image, x, y, width, height, 0, 0, width, height);
      }
      drawMark(context, view, axis, sheet);
      const index = sheet.slices[tile];
      canvas.setAttribute('aria-label', view.title + ', slice across ' + axes[axis] + ' at ' + index);
      byId('index-' + side + '-' + axes[axis]).textContent = axes[axis] + ' = ' + index + ' of 0 to ' + (sheet.extent - 1);
    };

    const drawAxis = (axis) => {
      const slider = byId('slider-' + axes[axis]);
      const sheet = sheetOf('left', axis);
      slider.max = sheet.slices.length - 1;
      slider.value = tileOf('left', axis);
      slider.disabled = sheet.slices.length < 2;
      slider.setAttribute('aria-valuetext', 'slice ' + sheet.slices[slider.value] + ' of 0 to ' + (sheet.extent - 1));
      return Promise.all([draw('left', axis), draw('right', axis)]);
    };

    const drawAll = () => {
      for (const side of ['left', 'right']) byId('caption-' + side).textContent = views[chosen[side]].caption;
      return Promise.all(axes.map((_, axis) => drawAxis(axis)));
    };

    axes.forEach((name, axis) => {
      byId('slider-' + name).addEventListener('input', (event) => {
        place[axis] = event.target.value / Math.max(1, event.target.max);
        drawAxis(axis);
      });
    });
    for (const side of ['left', 'right']) {
      byId('view-' + side).addEventListener('change', (event) => {
        chosen[side] = Number(event.target.value);
        drawAll();
      });
    }

    const show = (center) => {
      const home = views.findIndex((view) => view.overlay === 'objects');
      if (home < 0) return;
      marked = { center, extents: views[home].extents };
      chosen.right = home;
      byId('view-right').value = home;
      center.forEach((position, axis) => {
        place[axis] = position / Math.max(1, marked.extents[axis] - 1);
      });
      drawAll();
      const calm = matchMedia('(prefers-reduced-motion: reduce)').matches;
      byId('slices').scrollIntoView({ behavior: calm ? 'auto' : 'smooth' });
    };
    for (const button of document.querySelectorAll('button.show')) {
      button.addEventListener('click', () => {
        const row = button.closest('tr');
        document.querySelectorAll('tr.marked').forEach((each) => each.classList.remove('marked'));
        row.classList.add('marked');
        show(row.dataset.center.split(' ').map(Number));
      });
    }
    return drawAll();
  };

  // Table

  const valueOf = (row, column) => {
    const cell = row.cells[column];
    if (cell.dataset.value === undefined) return cell.textContent;
    return cell.dataset.value === '' ? NaN : Number(cell.dataset.value);
  };

  const sortBy = (table, column, descending) => {
    const sign = descending ? -1 : 1;
    const rows = Array.from(table.tBodies[0].rows, (row) => ({ row, value: valueOf(row, column) }));
    rows.sort((a, b) => {
      if (typeof a.value === 'string') return sign * a.value.localeCompare(b.value);
      if (isNaN(a.value) || isNaN(b.value)) return isNaN(a.value) - isNaN(b.value);
      return sign * (a.value - b.value);
    });
    table.tBodies[0].append(...rows.map((each) => each.row));
    Array.from(table.tHead.rows[0].cells, (cell, i) => {
      if (i === column) cell.setAttribute('aria-sort', descending ? 'descending' : 'ascending');
      else cell.removeAttribute('aria-sort');
    });
  };

  for (const table of document.querySelectorAll('table.sortable')) {
    Array.from(table.tHead.rows[0].cells, (cell, column) => {
      cell.querySelector('button').addEventListener('click', () => {
        const order = cell.getAttribute('aria-sort');
        const descending = order ? order === 'ascending' : cell.classList.contains('number');
        sortBy(table, column, descending);
      });
    });
  }

  // Coloured pictures come as three grey planes below each other.
  const drawPlanes = async (canvas) => {
    const image = await pictureOf(canvas.dataset.planes);
    const { width, height } = canvas;
    const planes = pixelsOf(image, 0, 0, width, 3 * height).data;
    const context = canvas.getContext('2d');
    const pixels = context.createImageData(width, height);
    for (let i = 0; i < width * height; ++i) {
      for (let k = 0; k < 3; ++k) pixels.data[4 * i + k] = planes[4 * (i + k * width * height)];
      pixels.data[4 * i + 3] = 255;
    }
    context.putImageData(pixels, 0, 0);
  };

  const work = Array.from(document.querySelectorAll('canvas.planes'), drawPlanes);
  if (byId('data')) work.push(startViewer(JSON.parse(byId('data').textContent)));
  Promise.all(work).then(() => document.documentElement.classList.add('ready'));
})();
