-- Ardour plays both amplifiers on its dummy engine: a preset reaches what it shows, and a session
-- that is opened again has all values. $SESSION is a folder to be made. Prints "kept" at the end.
local classes = {{"2046504473616C634C4C555100000000", 1}, {"2046504473616C63534C555100000000", 2}}
local folder = os.getenv("SESSION")

local function value(processor, i)
  return string.format("%.3f", (ARDOUR.LuaAPI.get_processor_param(processor, i)))
end

local function values(processor)
  local list = {}
  for i = 0, processor:to_insert():plugin(0):parameter_count() - 1 do
    list[i + 1] = value(processor, i)
  end
  return table.concat(list, " ")
end

local function waitFor(processor, i, wanted)
  for _ = 1, 100 do
    if value(processor, i) == wanted then return end
    ARDOUR.LuaAPI.usleep(50000)
  end
  error("control " .. i .. " stays at " .. value(processor, i))
end

local done, problem = pcall(function()
  AudioEngine:set_backend("None (Dummy)", "", "")
  local session = create_session(folder, "session", 48000)
  local saved = {}
  for _, class in ipairs(classes) do
    local tracks = session:new_audio_track(class[2], class[2], nil, 1, "", ARDOUR.PresentationInfo.max_order,
                                           ARDOUR.TrackMode.Normal, true)
    local amp = ARDOUR.LuaAPI.new_plugin(session, class[1], ARDOUR.PluginType.VST3, "")
    assert(not amp:isnil(), class[1] .. " is not found")
    assert(tracks:front():add_processor_by_index(amp, 0, nil, true) == 0)
    local plugin = amp:to_insert():plugin(0)
    assert(plugin:load_preset(plugin:preset_by_label("Warm Jazz")))
    waitFor(amp, 18, "0.000")  -- the channel, which was MODERN
    ARDOUR.LuaAPI.set_processor_param(amp, 6, 7.39)
    waitFor(amp, 6, "7.390")
    saved[#saved + 1] = values(amp)
  end
  session:save_state("", false, false, false, false, false)
  close_session()
  session = load_session(folder, "session")
  for track in session:get_tracks():iter() do
    assert(values(track:nth_plugin(0)) == table.remove(saved, 1))
  end
  assert(#saved == 0)
end)
print(done and "kept" or problem)
