/**
 * @file
 * The style sheet of a report's page: colours for light and dark, and what changes on a phone.
 */
#pragma once

#include <string_view>

namespace soundcheck {

inline constexpr std::string_view kPageStyle = R"css(
:root {
  color-scheme: light dark;
  --paper: #ffffff; --ink: #1c2127; --faint: #5b6570; --rule: #d5dae0; --panel: #f5f7f9;
  --wave: #1f6fb2; --bad: #b3261e; --warn: #8a5a00; --good: #1b6e3c;
  --good-panel: #e4f4ea; --bad-panel: #fbe9e7; --none-panel: #eceff2;
}
@media (prefers-color-scheme: dark) {
  :root {
    --paper: #14181c; --ink: #e4e8ec; --faint: #9aa5b0; --rule: #363e47; --panel: #1d2329;
    --wave: #6cb4f0; --bad: #ff8a80; --warn: #f0b95a; --good: #7fd6a0;
    --good-panel: #15301f; --bad-panel: #3b1a18; --none-panel: #262d34;
  }
}
* { box-sizing: border-box; }
body {
  margin: 0; background: var(--paper); color: var(--ink);
  font: 16px/1.5 system-ui, "Segoe UI", Roboto, "Helvetica Neue", sans-serif; overflow-wrap: break-word;
}
main { max-width: 46rem; margin: 0 auto; padding: 1rem; }
.verdict { border-left: .5rem solid; border-radius: .3rem; padding: 1rem 1.2rem; }
.verdict.passed { background: var(--good-panel); border-color: var(--good); }
.verdict.failed { background: var(--bad-panel); border-color: var(--bad); }
.verdict.nothing { background: var(--none-panel); border-color: var(--faint); }
h1 { margin: 0; font-size: 2rem; line-height: 1.2; }
.passed h1 { color: var(--good); }
.failed h1 { color: var(--bad); }
.sentence { margin: .3rem 0; font-size: 1.15rem; }
.title { margin: .5rem 0 0; color: var(--faint); font-size: .9rem; }
h2 { margin: 2rem 0 .5rem; font-size: 1.2rem; }
.findings { margin: 0; padding-left: 1.3rem; }
figure { margin: 1rem 0 1.5rem; }
figcaption, caption { color: var(--faint); font-size: .9rem; text-align: left; padding-bottom: .4rem; }
svg { display: block; width: 100%; height: auto; background: var(--panel); border-radius: .3rem; }
svg text { fill: var(--ink); font-size: 11px; }
.axis { stroke: var(--faint); }
.grid { stroke: var(--rule); }
.wave { fill: var(--wave); shape-rendering: crispEdges; }
.curve { stroke: var(--wave); fill: none; stroke-width: 1.5; }
.point, .bar, .blocks { fill: var(--wave); }
.gap, .error { fill: var(--bad); }
.warning { fill: var(--warn); }
.information { fill: var(--faint); }
table { width: 100%; border-collapse: collapse; margin: 1rem 0 1.5rem; font-size: .9rem; }
th, td { text-align: left; vertical-align: top; padding: .3rem .8rem .3rem 0; border-bottom: 1px solid var(--rule); }
tbody th { font-weight: normal; }
.pairs tbody th { color: var(--faint); width: 40%; }
td { font-variant-numeric: tabular-nums; }
.log { list-style: none; margin: 0; padding: 0; font-size: .85rem; }
.log li { padding: .25rem 0 .25rem .6rem; border-left: 3px solid var(--rule); margin-bottom: .2rem; }
.log span { color: var(--faint); }
.log .error { border-color: var(--bad); }
.log .warning { border-color: var(--warn); }
.always thead { display: none; }
.always, .always caption, .always tbody, .always tr, .always th, .always td { display: block; }
.always tr { border-bottom: 1px solid var(--rule); padding: .4rem 0; }
.always th, .always td { border: 0; padding: .1rem 0; }
.always tbody th { font-weight: 600; }
.always td { display: flex; gap: 1rem; }
.always td::before { content: attr(data-name); color: var(--faint); flex: 0 0 40%; }
@media (max-width: 34rem) {
  main { padding: .7rem; }
  h1 { font-size: 1.6rem; }
  svg text { font-size: 16px; }
  .cards thead { display: none; }
  .cards, .cards caption, .cards tbody, .cards tr, .cards th, .cards td { display: block; }
  .cards tr { border-bottom: 1px solid var(--rule); padding: .4rem 0; }
  .cards th, .cards td { border: 0; padding: .1rem 0; }
  .cards tbody th { font-weight: 600; }
  .cards td { display: flex; justify-content: space-between; gap: 1rem; }
  .cards td::before { content: attr(data-name); color: var(--faint); }
}
@media print {
  section, figure, tr { break-inside: avoid; }
}
)css";

} // namespace soundcheck
