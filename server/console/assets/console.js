// Conveniences only: every page works without this script.
// A filter's drop-down list applies the filter as soon as it changes; "/" jumps to the search box.
"use strict";
document.addEventListener("DOMContentLoaded", () => {
    for (const select of document.querySelectorAll("form.filters select")) {
        select.addEventListener("change", () => select.form.submit());
    }
    const search = document.querySelector("form.filters input[type=search]");
    if (!search) return;
    document.addEventListener("keydown", (event) => {
        if (event.key === "/" && document.activeElement !== search && !(event.target instanceof HTMLInputElement)) {
            event.preventDefault();
            search.focus();
        }
    });
});
