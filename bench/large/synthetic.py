# SPDX-License-Identifier: GPL-2.0-or-later
"""Rows of a library of any size, which the database itself makes: five songs to a photo, ten songs an album, a hundred an artist."""
from harness.catalogue import ON_SERVER

NAMES = ("path title album artist genre composer comment track disc year duration audio_bitrate video_bitrate sample_rate channels "
         "width height file_size create_time modify_time has_cover camera_make camera_model exposure_time f_number date_taken iso_speed")
# A thousand moments, each of as many files as come within a second.
ADDED = "'2026-10-' || (10 + {n} % 20) || 'T11:' || (10 + {n} / 20 % 50) || ':12Z'"
TIMES = "'2026-10-11 12:13:14', '2019-03-04 05:06:07'"
# By table: path, title, and the other columns.
SONG_PATH, SONG_TITLE = "{folder} || '/Album ' || ({n} / 10) || '/' || {n} || '.mp3'", "'Title of Song ' || {n}"
MUSIC = ("'Album ' || ({n} / 10), {artist}, 'Genre ' || ({n} % 50), "
         "'Composer ' || ({n} % 977), 'a comment', {n} % 10 + 1, 1, 1950 + {n} % 70, 180 + {n} % 300, 320000, 0, 44100, 2, 0, 0, "
         f"5000000 + {{n}}, {TIMES}, {{n}} % 2, '', '', '', '', '', 0")
PHOTO_PATH, PHOTO_TITLE = "'/volume1/photo/Day ' || ({n} / 200) || '/IMG_' || {n} || '.jpg'", "'IMG_' || {n}"
PHOTO = ("'Day ' || ({n} / 200), '', '', '', '', 0, 0, 0, 0, 0, 0, 0, "
         f"0, 6000, 4000, 5000000 + {{n}}, {TIMES}, 0, 'Maker', 'Model ' || ({{n}} % 7), '1/100', '2.8', '2019-05-04 10:11:12', 100")
# Names begin with all letters, as those of people do.
ARTIST = "substr('ABCDEFGHIJKLMNOPQRSTUVWXYZ', ({n} / 100) % 26 + 1, 1) || 'rtist ' || ({n} / 100)"
FACTS = {"artist": "m.artist", "albumartist": "m.artist", "genre": "m.genre", "composer": "m.composer", "codec": "'mp3'"}


# A server makes an index of what is there in a fraction of the time that it takes to keep one.
FACT_INDEXES = ("alter table file_fact add primary key (file, name, position)",
                "create index file_fact_folded on file_fact (name, coalesce(folded, value))")
WITHOUT_INDEXES = ("alter table file_fact drop constraint file_fact_pkey", "drop index file_fact_folded")
# Files are known before they have rows, so that nothing is left to the triggers.
TRIGGERED = ("music", "photo")


def fill(box, rows, rules):
    def store(*statements):
        for sql in statements:
            box.catalogue.store(sql, (), "music")

    series = f"generate_series(1, {rows}) as s(n)" if ON_SERVER else (
        f"(with recursive s(n) as (select 1 union all select n + 1 from s where n < {rows}) select n from s)")
    apart = ON_SERVER and rules == "complete"
    if apart:
        store("set maintenance_work_mem = '1GB'", *(f"alter table {table} disable trigger user" for table in TRIGGERED), *WITHOUT_INDEXES)
    artist = ARTIST.format(n="n")
    for table, values, which in (("music", (SONG_PATH, SONG_TITLE, MUSIC), "<>"), ("photo", (PHOTO_PATH, PHOTO_TITLE, PHOTO), "=")):
        path, title, others = (value.format(n="n", artist=artist, folder=f"'/volume1/music/' || {artist}") for value in values)
        if rules == "complete":
            store(f"insert into file_state (path, stamp, added, trouble, folded_name) select {path}, '', {ADDED.format(n='n')}, '', lower({title}) from {series} "
                  f"where n % 6 {which} 0")
        store(f"insert into {table} ({', '.join(NAMES.split())}) select {path}, {title}, {others} from {series} where n % 6 {which} 0")
    if rules == "complete":
        for name, value in FACTS.items():
            store(f"insert into fact_name (name) select '{name}' where not exists (select 1 from fact_name where name = '{name}')",
                  "insert into file_fact (file, name, position, value, folded) "
                  f"select s.id, (select id from fact_name where name = '{name}'), 0, {value}, lower({value}) from music m "
                  "join file_state s on s.path = m.path where m.title like 'Title of%'")
    if apart:
        store(*FACT_INDEXES, *(f"alter table {table} enable trigger user" for table in TRIGGERED))
    if ON_SERVER:
        store("analyze")
