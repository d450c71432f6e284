/* The button that changes between the system's colours, light and dark ones. The theme's own script, in
 * whose place this one stands, is a module in the distribution's build, which browsers do not run from the disk. */
(function () {
    "use strict";
    const next = { auto: "light", light: "dark", dark: "auto" };

    function show(theme) {
        document.body.dataset.theme = theme;
        for (const button of document.getElementsByClassName("theme-toggle")) {
            button.setAttribute("aria-label", "Colours: " + (theme === "auto" ? "as the system has them" : theme));
        }
    }

    document.addEventListener("DOMContentLoaded", function () {
        document.documentElement.classList.remove("no-js");
        show(document.body.dataset.theme || "auto");
        for (const button of document.getElementsByClassName("theme-toggle")) {
            button.addEventListener("click", function () {
                const theme = next[document.body.dataset.theme] || "auto";
                try {
                    localStorage.setItem("theme", theme);
                } catch (error) {
                    /* No storage for pages from the disk: the choice holds for this page. */
                }
                show(theme);
            });
        }
    });
})();
