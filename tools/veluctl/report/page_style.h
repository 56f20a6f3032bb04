// SPDX-License-Identifier: GPL-2.0-or-later
//
// The page's looks: one column of cards on a phone, several on a wide screen; light or dark as the reader's system.
// Colours have a contrast of 4.5 as writing and of 3 as drawing at least.
#pragma once

inline constexpr char kPageStyle[] = R"css(
:root{color-scheme:light dark;--page:#f5f4f0;--card:#fff;--ink:#1d2025;--soft:#5b616b;--line:#e3e1da;--track:#efede7;
--music:#2b6cb0;--films:#b9581c;--pictures:#2a7f62;--playlists:#7c55a8;--good:#2a7f62;--bad:#a8401e;--all:#5b616b}
@media(prefers-color-scheme:dark){:root{--page:#121417;--card:#1b1e23;--ink:#e8e6e1;--soft:#a2a8b2;--line:#2d3138;
--track:#262a30;--music:#6fa8e4;--films:#e29a5e;--pictures:#5fbf99;--playlists:#b795de;--good:#5fbf99;--bad:#f0937a;
--all:#a2a8b2}}
*{box-sizing:border-box}
html{-webkit-text-size-adjust:100%;text-size-adjust:100%}
body{margin:0 auto;max-width:76rem;padding:1.5rem 1rem 3rem;background:var(--page);color:var(--ink);
font:1rem/1.5 system-ui,-apple-system,"Segoe UI",Roboto,"Noto Sans",sans-serif;font-variant-numeric:tabular-nums}
.music{--k:var(--music)}.films{--k:var(--films)}.pictures{--k:var(--pictures)}.playlists{--k:var(--playlists)}
.all,.subtitles,#kinds,#growth,#notable,#problems{--k:var(--all)}
h1,h2,h3,p,dl,dd,ul{margin:0}
h1{font-size:clamp(1.9rem,7vw,3rem);line-height:1.1;letter-spacing:-.02em;overflow-wrap:anywhere}
h2{font-size:1.35rem;letter-spacing:-.01em;margin:2.75rem 0 1rem;padding-left:.7rem;border-left:.3rem solid var(--k)}
h3{font-size:1rem;margin-bottom:.7rem}
.eyebrow{font-size:.8rem;letter-spacing:.09em;text-transform:uppercase;color:var(--soft)}
.made,.note,footer{color:var(--soft)}
.made{margin-top:.4rem}
.cards>.note{margin:0 0 1rem}
.note{font-size:.85rem;margin-top:.7rem}
footer{font-size:.85rem;margin-top:3rem;border-top:1px solid var(--line);padding-top:1rem}
code,pre{font-family:ui-monospace,"DejaVu Sans Mono",Menlo,Consolas,monospace;font-size:.9em}
pre{background:var(--track);padding:.8rem 1rem;border-radius:.5rem;white-space:pre-wrap}
.figures{display:grid;grid-template-columns:repeat(auto-fit,minmax(9.5rem,1fr));gap:.75rem;margin-top:1.75rem}
.figures div{background:var(--card);border:1px solid var(--line);border-top:.25rem solid var(--k);border-radius:.6rem;
padding:.75rem 1rem .9rem}
dt{color:var(--soft);font-size:.85rem}
dd{font-size:1.75rem;font-weight:650;letter-spacing:-.02em;line-height:1.2;white-space:nowrap}
dd span{display:block;font-size:.9rem;font-weight:400;letter-spacing:0;color:var(--soft)}
nav{display:flex;flex-wrap:wrap;gap:.25rem 1.25rem;margin-top:1.25rem}
nav a{color:var(--ink);text-decoration:underline;text-decoration-color:var(--soft);text-underline-offset:.25em;
padding:.3rem 0}
.cards{columns:3 21rem;column-gap:1rem}
.card{background:var(--card);border:1px solid var(--line);border-radius:.6rem;padding:1rem;margin-bottom:1rem;
break-inside:avoid}
.wide{column-span:all}
table{border-collapse:collapse;width:100%;font-size:.9rem}
th{text-align:left;font-weight:400}
thead th{color:var(--soft);font-size:.78rem;padding-bottom:.35rem}
tfoot th,tfoot td{border-top:1px solid var(--line);font-weight:650;padding-top:.4rem}
tbody th,td{padding:.17rem 0}
.number{text-align:right;white-space:nowrap;padding-left:.75rem}
.bars{table-layout:fixed}
.bars .number{width:4.6rem}
.bars .more{width:5rem;color:var(--soft)}
.bars bdi{display:block;overflow:hidden;text-overflow:ellipsis;white-space:nowrap}
.beside th:first-child{width:40%}
.beside .bar{padding:0 0 0 .6rem}
.bar svg{display:block;width:100%;height:.6rem;border-radius:.15rem;background:var(--track)}
.below tr{position:relative}
.below tbody th,.below tbody td{padding:.2rem 0 .6rem}
.below .bar,.below thead td{width:0;padding:0}
.below .bar svg{position:absolute;left:0;bottom:.2rem;height:.28rem}
.fill{fill:var(--k)}
.shares{display:block;width:100%;height:1.1rem;border-radius:.25rem;margin-bottom:1rem}
.key{display:inline-block;width:.75em;height:.75em;border-radius:.15em;background:var(--k);margin-right:.5em}
.legend{margin-bottom:.75rem;font-size:.9rem;color:var(--soft)}
.legend .key:not(:first-child){margin-left:1.25em}
.plot{height:14.5rem;padding:.6rem .9rem 2rem 4.2rem}
.plot svg{display:block;overflow:visible}
.axis line{stroke:var(--line)}
.axis text{fill:var(--soft);font-size:.78rem}
.months{table-layout:fixed;text-align:center}
.months th:first-child{width:2.7rem}
.months th:last-child,.months td:last-child{width:4.2rem}
.months abbr{text-decoration:none;display:block;text-align:center}
.months tbody td{padding:0}
.months tbody td:not(.number){height:1.5rem;border:1px solid var(--card);border-width:1px 1px;background:var(--track);
background-clip:padding-box}
.months td>span{display:block;height:100%}
.months tbody td.s1{background-color:color-mix(in srgb,var(--k) 22%,var(--track))}
.months tbody td.s2{background-color:color-mix(in srgb,var(--k) 40%,var(--track))}
.months tbody td.s3{background-color:color-mix(in srgb,var(--k) 60%,var(--track))}
.months tbody td.s4{background-color:color-mix(in srgb,var(--k) 80%,var(--track))}
.months tbody td.s5{background-color:var(--k)}
.unseen{position:absolute;width:1px;height:1px;overflow:hidden;clip-path:inset(50%);white-space:nowrap}
.covers{list-style:none;padding:0;display:grid;grid-template-columns:repeat(auto-fill,minmax(8.2rem,1fr));gap:1rem}
.covers li{min-width:0;break-inside:avoid}
.covers img{display:block;width:100%;height:auto;aspect-ratio:1;object-fit:cover;border-radius:.4rem;background:var(--track)}
.unshown div{display:flex;align-items:center;justify-content:center;aspect-ratio:1;padding:.6rem;border-radius:.4rem;
background:var(--track);color:var(--soft);text-align:center;overflow:hidden;overflow-wrap:anywhere}
.unshown div bdi{white-space:normal}
.covers bdi{display:block;overflow:hidden;text-overflow:ellipsis;white-space:nowrap;font-size:.85rem;line-height:1.35}
.covers p{margin-top:.4rem}
.covers .artist{color:var(--soft)}
summary{cursor:pointer}
.list{font-size:.85rem;margin-top:.7rem}
.list summary{color:var(--soft)}
.card>p{font-size:.85rem;color:var(--soft)}
.soft{color:var(--soft)}
details[open] summary{margin-bottom:.6rem}
.problem summary{font-weight:650}
.problem .count{float:right;color:var(--bad)}
.good{color:var(--good)}
.paths{list-style:none;padding:.6rem 0 0;font:.82rem/1.6 ui-monospace,"DejaVu Sans Mono",Menlo,Consolas,monospace;
overflow-wrap:anywhere}
.empty{margin-top:2rem}
.empty p,.empty pre{margin:.5rem 0;max-width:40rem}
.empty h2{border:0;padding:0}
@media(max-width:30rem){.bars .number{width:4.1rem}.bars .more{width:4.6rem}.covers{grid-template-columns:repeat(auto-fill,minmax(5.6rem,1fr));gap:.75rem}
.kinds td:nth-child(4),.kinds th:nth-child(4){display:none}.months td.number,.months th:last-child{width:3.4rem}}
@media print{:root{--page:#fff}body{max-width:none;padding:0;font-size:.8rem}nav{display:none}
.fill,.key,.months td,.bar svg,.figures div{print-color-adjust:exact;-webkit-print-color-adjust:exact}}
)css";
