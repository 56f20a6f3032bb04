CREATE TABLE public.photo_access_right ( userid integer, shareid integer, granted text )
CREATE TABLE public.photo_image ( id bigint NOT NULL, path text COLLATE pg_catalog."C", name text, title text, description text, album text, make text, model text, exposure text, fnumber text, date_taken text, create_time text, width integer, height integer, iso integer, file_size bigint, updated text )
CREATE SEQUENCE public.photo_image_id_seq START WITH 1 INCREMENT BY 1 NO MINVALUE NO MAXVALUE CACHE 1
ALTER SEQUENCE public.photo_image_id_seq OWNED BY public.photo_image.id
CREATE TABLE public.photo_share ( shareid integer NOT NULL, sharename text COLLATE pg_catalog."C", title text, description text, public boolean, hits integer, cover text, allow_comment boolean, is_subdir boolean, updated text )
CREATE TABLE public.schema_version ( version integer )
CREATE TABLE public.video_comment ( id bigint NOT NULL, path text COLLATE pg_catalog."C", name text, comment text, date text )
CREATE SEQUENCE public.video_comment_id_seq START WITH 1 INCREMENT BY 1 NO MINVALUE NO MAXVALUE CACHE 1
ALTER SEQUENCE public.video_comment_id_seq OWNED BY public.video_comment.id
CREATE TABLE public.video_desc ( path text NOT NULL COLLATE pg_catalog."C", title text, description text, updated text )
ALTER TABLE ONLY public.photo_image ALTER COLUMN id SET DEFAULT nextval('public.photo_image_id_seq'::regclass)
ALTER TABLE ONLY public.video_comment ALTER COLUMN id SET DEFAULT nextval('public.video_comment_id_seq'::regclass)
INSERT INTO public.photo_image VALUES (1, '/volume1/photo/T/é.jpg', 'e.jpg', '', '', '', '', '', '', '', '', '', 640, 0, 0, 0, '1')
INSERT INTO public.photo_share VALUES (1, 'Trips', '', '', true, 0, '', true, false, '1')
INSERT INTO public.schema_version VALUES (1)
SELECT pg_catalog.setval('public.photo_image_id_seq', 1, true)
SELECT pg_catalog.setval('public.video_comment_id_seq', 1, false)
ALTER TABLE ONLY public.photo_image ADD CONSTRAINT photo_image_path_key UNIQUE (path)
ALTER TABLE ONLY public.photo_image ADD CONSTRAINT photo_image_pkey PRIMARY KEY (id)
ALTER TABLE ONLY public.photo_share ADD CONSTRAINT photo_share_pkey PRIMARY KEY (shareid)
ALTER TABLE ONLY public.photo_share ADD CONSTRAINT photo_share_sharename_key UNIQUE (sharename)
ALTER TABLE ONLY public.video_comment ADD CONSTRAINT video_comment_pkey PRIMARY KEY (id)
ALTER TABLE ONLY public.video_desc ADD CONSTRAINT video_desc_pkey PRIMARY KEY (path)
CREATE INDEX video_comment_path ON public.video_comment USING btree (path)
