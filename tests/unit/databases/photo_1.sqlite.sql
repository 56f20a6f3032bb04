CREATE TABLE schema_version (version integer)
CREATE TABLE photo_image (id integer primary key, path text unique, name text, title text, description text, album text, make text, model text, exposure text, fnumber text, date_taken text, create_time text, width integer, height integer, iso integer, file_size bigint, updated text)
CREATE TABLE video_desc (path text primary key, title text, description text, updated text)
CREATE TABLE video_comment (id integer primary key, path text, name text, comment text, date text)
CREATE INDEX video_comment_path on video_comment (path)
CREATE TABLE photo_share (shareid integer primary key, sharename text unique, title text, description text, public boolean, hits integer, cover text, allow_comment boolean, is_subdir boolean, updated text)
CREATE TABLE photo_access_right (userid integer, shareid integer, granted text)
insert into schema_version values (1)
insert into photo_image values (1, '/volume1/photo/T/é.jpg', 'e.jpg', '', '', '', '', '', '', '', '', '', 640, 0, 0, 0, '1')
insert into photo_share values (1, 'Trips', '', '', 't', 0, '', 't', 'f', '1')
CREATE TRIGGER photo_share_insert after insert on photo_share when new.public not in ('t', 'f') or new.allow_comment not in ('t', 'f') or new.is_subdir not in ('t', 'f') begin update photo_share set public = case when public is null then null when lower(public) in ('t', 'true', '1') then 't' else 'f' end, allow_comment = case when allow_comment is null then null when lower(allow_comment) in ('t', 'true', '1') then 't' else 'f' end, is_subdir = case when is_subdir is null then null when lower(is_subdir) in ('t', 'true', '1') then 't' else 'f' end where shareid = new.shareid; end
CREATE TRIGGER photo_share_update after update of public, allow_comment, is_subdir on photo_share when new.public not in ('t', 'f') or new.allow_comment not in ('t', 'f') or new.is_subdir not in ('t', 'f') begin update photo_share set public = case when public is null then null when lower(public) in ('t', 'true', '1') then 't' else 'f' end, allow_comment = case when allow_comment is null then null when lower(allow_comment) in ('t', 'true', '1') then 't' else 'f' end, is_subdir = case when is_subdir is null then null when lower(is_subdir) in ('t', 'true', '1') then 't' else 'f' end where shareid = new.shareid; end
